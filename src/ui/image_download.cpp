#include "ui/image_download.h"

#include <utility>

#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/main_queue.h"
#include "platform/net/http_task.h"
#include "platform/net/url.h"
#include "runtime/buffers.h"

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

std::shared_ptr<const toolkit::Image> decodeBuffer(int64_t id) {
  const Bytes bytes = Buffers::get(id);
  return bytes ? toolkit::Image::decode(bytes->data(), bytes->size()) : nullptr;
}

}  // namespace talvero
