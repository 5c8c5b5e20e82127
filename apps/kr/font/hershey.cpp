#include "apps/kr/font/hershey.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "krdcmmn/host/codepage.h"

namespace kr_app {

namespace {

constexpr int kOrigin = 'R';  // the character of coordinate 0
constexpr int kBaseline = 9;  // y of the baseline, y downward
constexpr int kFirstCharacter = 32;
constexpr std::size_t kLineWidth = 78;

constexpr const char* kHead =
    "; Made from a face of the Hershey fonts. The Hershey Fonts were originally created by\r\n"
    "; Dr. A. V. Hershey while working at the U. S. National Bureau of Standards. The format of\r\n"
    "; the font data of that distribution was originally created by James Hurt, Cognition, "
    "Inc.,\r\n"
    "; 900 Technology Park Drive, Billerica, MA 01821 (mit-eddie!ci-dandelion!hurt).\r\n";

struct Point {
  int x;
  int y;
  bool operator==(const Point&) const = default;
};

// Points are relative to the left edge and the baseline, y upward.
struct Glyph {
  int width;
  std::vector<std::vector<Point>> strokes;
};

// A record: five columns of number, three with the count of pairs, then the pairs; long records go
// on in the next line. The first pair is the left and the right edge; " R" lifts the pen.
class FaceReader {
 public:
  explicit FaceReader(std::string_view text) : rest_(text) {}

  bool Next(Glyph& glyph) {
    SkipLineEnds();
    if (rest_.empty()) {
      return false;
    }
    ++number_;
    std::string head;
    for (int i = 0; i < 8; ++i) {
      head += Take();
    }
    const int pairs = std::atoi(head.c_str() + 5);
    if (pairs < 1) {
      Fail("the number of points is missing");
    }
    const int left = Coordinate(Take());
    glyph = {Coordinate(Take()) - left, {}};
    bool down = false;
    for (int i = 1; i < pairs; ++i) {
      const char x = Take();
      const char y = Take();
      if (x == ' ' && y == kOrigin) {
        down = false;
        continue;
      }
      if (!down) {
        glyph.strokes.emplace_back();
        down = true;
      }
      glyph.strokes.back().push_back({Coordinate(x) - left, kBaseline - Coordinate(y)});
    }
    return true;
  }

 private:
  [[noreturn]] void Fail(const char* text) const {
    throw std::runtime_error("glyph " + std::to_string(number_) + ": " + text);
  }
  void SkipLineEnds() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of("\r\n"), rest_.size()));
  }
  char Take() {
    SkipLineEnds();
    if (rest_.empty()) {
      Fail("the file ends within it");
    }
    const char c = rest_[0];
    rest_.remove_prefix(1);
    return c;
  }
  int Coordinate(char c) const {
    if (c < ' ' || c > '~') {
      Fail("a character that is no coordinate");
    }
    return c - kOrigin;
  }

  std::string_view rest_;
  int number_ = 0;
};

// The greatest of what `measure` gives for the points of the characters `first` to `last`.
template <class Measure>
int Extent(const std::vector<Glyph>& glyphs, char first, char last, Measure measure) {
  int extent = 0;
  for (std::size_t c = static_cast<unsigned char>(first); c <= static_cast<unsigned char>(last);
       ++c) {
    if (c - kFirstCharacter < glyphs.size()) {
      for (const auto& stroke : glyphs[c - kFirstCharacter].strokes) {
        for (const Point p : stroke) {
          extent = std::max(extent, measure(p));
        }
      }
    }
  }
  return extent;
}

// A program under way: its text, wrapped behind commas, and the bytes that it compiles to.
class Program {
 public:
  void Token(const std::string& text, int bytes) {
    if (line_ + text.size() + 1 > kLineWidth) {
      text_ += "\r\n";
      line_ = 0;
    }
    text_ += text + ",";
    line_ += text.size() + 1;
    bytes_ += bytes;
  }
  std::string Finish() { return text_ + "0\r\n"; }
  int bytes() const { return bytes_ + 1; }

  void Move(Point by) { Token("8,(" + Pair(by) + ")", 3); }

  // One line, as a length and direction vector where one fits.
  void Line(Point by) {
    static constexpr int kSteps[16][2] = {{2, 0},  {2, 1},  {2, 2},  {1, 2},   {0, 2},   {-1, 2},
                                          {-2, 2}, {-2, 1}, {-2, 0}, {-2, -1}, {-2, -2}, {-1, -2},
                                          {0, -2}, {1, -2}, {2, -2}, {2, -1}};
    const int length = std::max(std::abs(by.x), std::abs(by.y));
    const auto part = [length](int step) {
      return step % 2 != 0 ? step * (length / 2) : step / 2 * length;
    };
    for (int d = 0; d < 16 && length >= 1 && length <= 15; ++d) {
      if (Point{part(kSteps[d][0]), part(kSteps[d][1])} == by) {
        const char* digits = "0123456789ABCDEF";
        Token({'0', digits[length], digits[d]}, 1);
        return;
      }
    }
    Move(by);
  }

 private:
  static std::string Pair(Point p) { return std::to_string(p.x) + "," + std::to_string(p.y); }

  std::string text_;
  std::size_t line_ = 0;
  int bytes_ = 0;
};

Point Between(Point from, Point to) {
  return {to.x - from.x, to.y - from.y};
}

std::string Shape(int code, const std::string& name, const Glyph& glyph) {
  Program program;
  Point pen = {0, 0};
  for (const auto& stroke : glyph.strokes) {
    program.Token("2", 1);
    program.Move(Between(pen, stroke[0]));
    program.Token("1", 1);
    pen = stroke[0];
    for (std::size_t i = 1; i < stroke.size(); ++i) {
      program.Line(Between(pen, stroke[i]));
      pen = stroke[i];
    }
    if (stroke.size() == 1) {
      program.Move({0, 0});
    }
  }
  program.Token("2", 1);
  program.Move(Between(pen, {glyph.width, 0}));
  char number[8];
  const auto [end, error] = std::to_chars(number, number + sizeof number, code, 16);
  return "*0" + std::string(number, end) + "," + std::to_string(program.bytes()) + "," + name +
         "\r\n" + program.Finish();
}

// The shape number whose slot is `byte`, or -1.
int CodeOfByte(int byte) {
  if (byte < 128) {
    return byte;
  }
  const char text = static_cast<char>(byte);
  const std::wstring wide = AnsiToWide(&text, 1);
  const std::string back = WideToAnsi(wide.data(), static_cast<unsigned>(wide.size()));
  return wide.size() == 1 && wide[0] > 128 && back == std::string(1, text)
             ? static_cast<int>(wide[0])
             : -1;
}

}  // namespace

HersheyFont ImportHershey(std::string_view jhf, std::string_view name) {
  std::vector<Glyph> glyphs;
  FaceReader reader(jhf);
  for (Glyph glyph; reader.Next(glyph);) {
    glyphs.push_back(glyph);
  }
  if (glyphs.empty()) {
    throw std::runtime_error("no glyphs");
  }
  const int above = std::max(1, Extent(glyphs, 'A', 'Z', [](Point p) { return p.y; }));
  const int below = Extent(glyphs, 'a', 'z', [](Point p) { return -p.y; });
  const int pitch = (above + below) * 5 / 4;

  HersheyFont font = {kHead, static_cast<int>(glyphs.size()), 0};
  font.source += "*0,4," + std::string(name) + "\r\n" + std::to_string(above) + "," +
                 std::to_string(below) + ",0,0\r\n";
  font.source += "*00A,5,lf\r\n2,8,(0," + std::to_string(-pitch) + "),0\r\n";
  int byte = kFirstCharacter;
  for (std::size_t i = 0; i < glyphs.size(); ++i) {
    while (byte < 256 && CodeOfByte(byte) < 0) {
      ++byte;
    }
    if (byte == 256) {
      font.left_out = static_cast<int>(glyphs.size() - i);
      break;
    }
    font.source += Shape(CodeOfByte(byte), "c" + std::to_string(byte), glyphs[i]);
    ++byte;
  }
  return font;
}

}  // namespace kr_app
