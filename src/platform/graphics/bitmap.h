#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace talvero::graphics {

// A drawn or decoded picture: 8 bits a channel, premultiplied alpha, sRGB without a colour
// tag. It never changes once made, so holders share it freely through `BitmapRef`.
class Bitmap {
 public:
  struct Storage;  // the drawing library's surface, private to this folder

  explicit Bitmap(std::unique_ptr<Storage> storage);
  ~Bitmap();
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;

  int width() const;
  int height() const;
  int stride() const;  // bytes from one row to the next, at least width × 4
  // Rows from the top; each pixel one native-endian 32-bit word 0xAARRGGBB, premultiplied.
  const uint8_t* data() const;
  // width × height × 4 bytes of R, G, B, A with straight alpha, rows from the top, packed.
  std::vector<uint8_t> straightRGBA() const;

  const Storage& storage() const { return *storage_; }

 private:
  std::unique_ptr<Storage> storage_;
};

using BitmapRef = std::shared_ptr<const Bitmap>;

}  // namespace talvero::graphics
