// Asks the display what a window shows until it is the picture that it should show, or the time is
// over: window_shows WINDOW PICTURE.png ROWS SECONDS, ROWS being those that count, from the top.
// Exit status: 0 equal, 1 different (a line says where), 2 nothing to compare.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <png.h>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t kColour = 0xffffff;

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;  // 0xRRGGBB
};

Picture ReadPng(const char* path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path) == 0) {
    std::fprintf(stderr, "%s: %s\n", path, image.message);
    std::exit(2);
  }
  image.format = PNG_FORMAT_BGRA;
  Picture picture{static_cast<int>(image.width), static_cast<int>(image.height), {}};
  picture.pixels.resize(std::size_t{image.width} * image.height);
  if (png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr) == 0) {
    std::fprintf(stderr, "%s: %s\n", path, image.message);
    std::exit(2);
  }
  return picture;
}

// What is different, empty for nothing.
std::string Difference(Display* display, Window window, const Picture& expected, int rows) {
  XWindowAttributes now{};
  XGetWindowAttributes(display, window, &now);
  if (now.width != expected.width || now.height != expected.height) {
    return "the window is " + std::to_string(now.width) + "x" + std::to_string(now.height) +
           ", the picture " + std::to_string(expected.width) + "x" +
           std::to_string(expected.height);
  }
  XImage* image = XGetImage(display, window, 0, 0, static_cast<unsigned>(now.width),
                            static_cast<unsigned>(now.height), AllPlanes, ZPixmap);
  if (image == nullptr) {
    return "the window cannot be read";
  }
  int differ = 0;
  std::string first;
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < now.width; ++x) {
      const std::uint32_t shown = static_cast<std::uint32_t>(XGetPixel(image, x, y)) & kColour;
      const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(now.width) +
                             static_cast<std::size_t>(x);
      if (shown != (expected.pixels[at] & kColour) && differ++ == 0) {
        char text[96];
        std::snprintf(text, sizeof text, "first at (%d, %d): %06x instead of %06x", x, y, shown,
                      expected.pixels[at] & kColour);
        first = text;
      }
    }
  }
  XDestroyImage(image);
  return differ == 0 ? "" : std::to_string(differ) + " pixels differ, " + first;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs("usage: window_shows WINDOW PICTURE.png ROWS SECONDS\n", stderr);
    return 2;
  }
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) {
    std::fputs("no display\n", stderr);
    return 2;
  }
  const Window window = std::strtoul(argv[1], nullptr, 0);
  const Picture expected = ReadPng(argv[2]);
  const int rows = std::atoi(argv[3]);
  if (rows < 1 || rows > expected.height) {
    std::fputs("no such rows\n", stderr);
    return 2;
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[4]));
  std::string difference;
  do {
    difference = Difference(display, window, expected, rows);
    if (difference.empty()) {
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  XCloseDisplay(display);
  if (!difference.empty()) {
    std::fprintf(stderr, "%s: %s\n", argv[2], difference.c_str());
  }
  return difference.empty() ? 0 : 1;
}
