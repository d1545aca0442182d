#include "ui/image_download.h"

#include <utility>

#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/main_queue.h"
#include "platform/net/http_task.h"
#include "platform/net/url.h"

namespace talvero {

void downloadImage(const std::string& url, ImageArrival onImage) {
  if (!net::isParsableUrl(url)) return;
  net::HttpRequest request;
  request.url = url;
  net::DataTaskCallbacks callbacks;
  callbacks.onComplete = [onImage = std::move(onImage)](const net::HttpResponse&, Bytes body) {
    if (!body || body->empty()) return;
    dispatch::BackgroundQueue::global().post([onImage, body] {
      std::shared_ptr<const toolkit::Image> image =
          toolkit::Image::decode(body->data(), body->size());
      if (!image) return;
      dispatch::post([onImage, image] { onImage(image); });
    });
  };
  net::startDataTask(std::move(request), std::move(callbacks));
}

}  // namespace talvero
