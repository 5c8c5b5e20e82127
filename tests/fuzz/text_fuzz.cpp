// Any font arrays, attributes, view and string: measuring, drawing and writing end, and what Draw
// leaves out would not have shown.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/fontstream.h"

#include "tests/support/device.h"

namespace {

// Values out of the bytes, zeros behind their end.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  template <class T>
  T Take() {
    T value{};
    std::memcpy(&value, data_, std::min(sizeof value, size_));
    Skip(std::min(sizeof value, size_));
    return value;
  }
  // Small numbers most of the time, so that something lies in view.
  int Coordinate() {
    const auto small = Take<std::int8_t>();
    return small == -128 ? Take<std::int32_t>() : small;
  }
  bool empty() const { return size_ == 0; }
  std::string Rest() { return {reinterpret_cast<const char*>(data_), size_}; }

 private:
  void Skip(std::size_t n) {
    data_ += n;
    size_ -= n;
  }
  const std::uint8_t* data_;
  std::size_t size_;
};

struct Counter : kr::fontstream {
  int line(int, KRD::DOT, KRD::DOT) override { return 1; }
  int arc(int, KRD::DOT, KRD::DOT, KRD::DOT) override { return 1; }
  int circle(int, KRD::DOT, int) override { return 1; }
};

void FillFont(kr::font& font, Bytes& in) {
  font.height = in.Coordinate();
  font.descent = in.Coordinate();
  for (unsigned slot : {10u, 13u, 97u, 98u, 99u, 100u}) {
    font.advance[slot] = {slot == 13 ? 0 : in.Coordinate(), in.Coordinate()};
    font.boxMax[slot] = font.boxMin[slot] = {in.Coordinate(), in.Coordinate()};
    font.primFirst[slot] = static_cast<int>(font.primKind.count());
    font.primCount[slot] = in.Take<std::uint8_t>() % 4;
    for (int i = 0; i < font.primCount[slot]; ++i) {
      const int kind = in.Take<std::uint8_t>() % 3;
      font.primKind.add(kind);
      if (kind == kr::PRIM_ARC) {
        font.primData.add(static_cast<int>(font.arcPoints.count()));
        for (int k = 0; k < 4; ++k) {
          const bool any = in.Take<std::uint8_t>() == 255;
          const double x = any ? in.Take<double>() : in.Coordinate() / 2.0;
          font.arcPoints.add({x, in.Coordinate() / 2.0});
        }
      } else {
        auto& points = kind == kr::PRIM_LINE ? font.linePoints : font.circlePoints;
        font.primData.add(static_cast<int>(points.count()));
        points.add({in.Coordinate(), in.Coordinate()});
        points.add({in.Coordinate(), in.Coordinate()});
      }
    }
  }
  font.advance['!'] = {0x70000000, 0};  // sends the cursor where nothing is left out
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in(data, size);
  kr::font font;
  FillFont(font, in);
  kr::drawfont text;
  text.InitFont(&font);
  text.SetHeight(in.Coordinate());
  text.SetSWidth(in.Coordinate() / 16.0);
  text.SetAngle(in.Take<std::uint8_t>() % 8 == 0 ? in.Take<std::int32_t>()
                                                 : in.Take<std::int8_t>() * 50);
  text.SetMirror(in.Take<std::uint8_t>() % 2 == 1);
  text.SetWidth(in.Coordinate());
  text.SetAlign(static_cast<kr::ALIGN>(in.Coordinate() / 3 * 3));
  text.SetColor(0);
  const KRD::DOT at = {in.Coordinate(), in.Coordinate()};
  const double scale = in.Take<std::uint8_t>() / 32.0;
  const KRD::DOT centre = {in.Coordinate(), in.Coordinate()};
  std::string s = in.Rest();
  s.resize(std::min<std::size_t>(s.size(), 64));

  krtest::Stage some(31, 23);
  krtest::Stage all(31, 23);
  for (krtest::Stage* stage : {&some, &all}) {
    stage->device.SetWorkArea(31, 23);
    stage->device.SetMaxScale(16.0);
    stage->device.Zoom(scale);
    stage->device.ScrollH(centre.x);
    stage->device.ScrollV(centre.y);
  }
  KRD::DOT corners[4];
  text.GetStringSize(s.c_str(), corners);
  Counter counter;
  text.Write(at, s.c_str(), counter);
  text.Draw(at, s.c_str(), some.device, false);
  // A leading CR adds its own step; it has none in x, and without one in y the texts are the same.
  if (font.advance[13].y == 0 && font.primCount[13] == 0 && text.align % 3 == 0 &&
      text.align >= 0 && text.align < 9 && s.find('!') == std::string::npos) {
    text.Draw(at, ("!\r" + s).c_str(), all.device, false);
    PIXELS a{};
    PIXELS b{};
    GetPixels(some.device.memDC, &a);
    GetPixels(all.device.memDC, &b);
    for (int y = 0; y < a.height; ++y) {
      if (std::memcmp(a.data + y * a.stride, b.data + y * b.stride,
                      static_cast<std::size_t>(a.width) * sizeof *a.data) != 0) {
        std::abort();
      }
    }
  }
  return 0;
}
