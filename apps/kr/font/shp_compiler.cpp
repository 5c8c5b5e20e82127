#include "apps/kr/font/shp_compiler.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

#include "apps/kr/font/shp_scanner.h"

namespace kr_app {

namespace {

constexpr std::size_t kUnifontBodyMax = 2000;
constexpr std::size_t kShapesBodyMax = 32767;
constexpr std::size_t kShapesMax = 65535;
constexpr int kCodeMax = 0x7fff;  // codes above count as negative in compiled fonts

void Put(std::string& to, std::size_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    to += static_cast<char>(value >> 8 * i & 0xff);
  }
}

std::optional<int> ToNumber(std::string_view text, int base = 10) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

int NumberIn(const ShpToken& token, int low, int high) {
  const auto value = ToNumber(token.text);
  const std::size_t digits = token.text.find_first_not_of('-');
  const bool padded = token.text.size() > digits + 1 && token.text[digits] == '0';
  if (!value || padded || *value < low || *value > high) {
    FailAtLine(token.line, std::string(token.text) + " is no decimal number from " +
                               std::to_string(low) + " to " + std::to_string(high));
  }
  return *value;
}

// One shape's program: commands and vectors to bytes.
class ProgramCompiler {
 public:
  explicit ProgramCompiler(const ShpRecord& record) : record_(record) {}

  std::string Run() {
    while (at_ < record_.tokens.size()) {
      const ShpToken& token = Next("");
      if (token.group != 0) {
        FailAtLine(token.line, "parentheses without a command that takes them");
      }
      if (token.text.size() == 3) {
        LengthVector(token);
      } else if (Command(token)) {
        return std::move(bytes_);
      }
    }
    FailAtLine(record_.line, "the shape has no end (0)");
  }

  // Not 1 when the program leaves a scale that compiled shapes pass on.
  double scale() const { return scale_; }

 private:
  const ShpToken& Next(const char* missing) {
    if (at_ == record_.tokens.size()) {
      FailAtLine(record_.line, std::string("the shape ends where ") + missing + " should stand");
    }
    return record_.tokens[at_++];
  }

  // The tokens of the next pair of parentheses.
  std::vector<ShpToken> Group() {
    const ShpToken& first = Next("parentheses");
    if (first.group == 0) {
      FailAtLine(first.line, std::string(first.text) + " should stand within parentheses");
    }
    std::vector<ShpToken> group = {first};
    while (at_ < record_.tokens.size() && record_.tokens[at_].group == first.group) {
      group.push_back(record_.tokens[at_++]);
    }
    return group;
  }

  std::vector<ShpToken> Group(std::size_t size) {
    auto group = Group();
    if (group.size() != size) {
      FailAtLine(group[0].line, std::to_string(group.size()) + " numbers where " +
                                    std::to_string(size) + " should stand");
    }
    return group;
  }

  void Byte(int value) { bytes_ += static_cast<char>(value & 0xff); }

  void LengthVector(const ShpToken& token) {
    const auto value = ToNumber(token.text, 16);
    if (!value || *value < 0x10 || *value > 0xff) {
      FailAtLine(token.line, std::string(token.text) +
                                 " has three characters and so should be a vector 0LD: a length "
                                 "of 1 to F and a direction");
    }
    Byte(*value);
  }

  // True at the end of the shape.
  bool Command(const ShpToken& token) {
    const int command = NumberIn(token, 0, 14);
    if (command == 7) {
      // The loader of sources reads this number as a command, and these are none.
      const ShpToken& subshape = Next("a subshape");
      const int number = NumberIn(subshape, 15, 99);
      Byte(command);
      Byte(number);
      return false;
    }
    Byte(command);
    switch (command) {
      case 0:
        if (at_ != record_.tokens.size()) {
          FailAtLine(record_.tokens[at_].line, "a token behind the end of the shape");
        }
        return true;
      case 3:
      case 4:
        Scale(command);
        break;
      case 8:
        Tuple(Group(2));
        break;
      case 9:
        Runs(2);
        break;
      case 10: {
        const auto group = Group(2);
        Byte(NumberIn(group[0], 1, 127));
        Octants(group[1]);
        break;
      }
      case 11: {
        const auto group = Group(5);
        Byte(NumberIn(group[0], 0, 255));
        Byte(NumberIn(group[1], 0, 255));
        Byte(NumberIn(group[2], 0, 0));
        Byte(NumberIn(group[3], 1, 255));
        Octants(group[4]);
        break;
      }
      case 12:
        Tuple(Group(3));
        break;
      case 13:
        Runs(3);
        break;
      default:
        break;
    }
    return false;
  }

  void Scale(int command) {
    const ShpToken& token = Next("a scale");
    if (token.group == 0 && token.text.size() == 3) {
      FailAtLine(token.line, std::string(token.text) +
                                 " has three characters and so is a vector: put it in parentheses");
    }
    const int factor = NumberIn(token, 1, 127);
    Byte(factor);
    scale_ = command == 3 ? scale_ / factor : scale_ * factor;
  }

  void Tuple(const std::vector<ShpToken>& group) {
    for (const ShpToken& token : group) {
      Byte(NumberIn(token, -128, 127));
    }
  }

  // A run of pairs or triples up to (0,0).
  void Runs(std::size_t size) {
    for (bool first = true;; first = false) {
      const auto group = Group();
      const bool zeros = group.size() >= 2 && group[0].text == "0" && group[1].text == "0";
      if (zeros && (first || group.size() != 2)) {
        FailAtLine(group[0].line, "a run ends at 0,0 and has something ahead of it");
      }
      if (!zeros && group.size() != size) {
        FailAtLine(group[0].line,
                   "a run of " + std::to_string(size) + " numbers each ends in (0,0)");
      }
      Tuple(group);
      if (zeros) {
        return;
      }
    }
  }

  // 0SK, a start octant and a count, with a minus for clockwise.
  void Octants(const ShpToken& token) {
    std::string_view digits = token.text;
    const bool clockwise = digits[0] == '-';
    digits.remove_prefix(clockwise ? 1 : 0);
    const auto octal = [](char c) { return c >= '0' && c <= '7'; };
    if (digits.size() != 3 || digits[0] != '0' || !octal(digits[1]) || !octal(digits[2]) ||
        (clockwise && digits == "000")) {
      FailAtLine(token.line, std::string(token.text) +
                                 " should be octants 0SK or -0SK with digits up to 7 (K of 0 is a "
                                 "circle)");
    }
    Byte((clockwise ? 0x80 : 0) | (digits[1] - '0') << 4 | (digits[2] - '0'));
  }

  const ShpRecord& record_;
  std::size_t at_ = 0;
  std::string bytes_;
  double scale_ = 1.0;
};

struct Shape {
  int code;
  std::string body;  // name, zero, program
};

int CodeOf(const ShpRecord& record) {
  const bool hex = !record.number.empty() && record.number[0] == '0';
  const auto code = ToNumber(record.number, hex ? 16 : 10);
  if (!code || *code < 1 || *code > kCodeMax) {
    FailAtLine(record.line, std::string(record.number) + " is no shape number from 1 to 32767");
  }
  return *code;
}

// above, below, modes, and what else the layout keeps; the zero at its end included.
std::string MetricsOf(const ShpRecord& header, ShxLayout layout) {
  if (header.number != "0" && header.number != "UNIFONT") {
    FailAtLine(header.line, "the first record should be the font's, *0 or *UNIFONT");
  }
  if (header.tokens.size() < 3) {
    FailAtLine(header.line, "the font header has above, below and modes");
  }
  std::string bytes;
  for (std::size_t i = 0; i < (layout == ShxLayout::kShapes ? 3u : 5u); ++i) {
    const bool given = i < header.tokens.size();
    bytes += static_cast<char>(given ? NumberIn(header.tokens[i], i == 0 ? 1 : 0, 255) : 0);
  }
  bytes += '\0';
  return bytes;
}

std::string ShapesFile(const std::string& name, const std::string& metrics,
                       const std::vector<Shape>& shapes) {
  std::string index;
  std::string bodies = name + '\0' + metrics;
  Put(index, 0, 2);
  Put(index, bodies.size(), 2);
  int low = kCodeMax;
  int high = 0;
  for (const Shape& shape : shapes) {
    Put(index, static_cast<std::size_t>(shape.code), 2);
    Put(index, shape.body.size(), 2);
    bodies += shape.body;
    low = std::min(low, shape.code);
    high = std::max(high, shape.code);
  }
  std::string bytes = "AutoCAD-86 shapes 1.1\r\n\x1a";
  Put(bytes, static_cast<std::size_t>(low), 2);
  Put(bytes, static_cast<std::size_t>(high), 2);
  Put(bytes, shapes.size() + 1, 2);
  return bytes + index + bodies;
}

std::string UnifontFile(const std::string& name, const std::string& metrics,
                        const std::vector<Shape>& shapes) {
  std::string bytes = "AutoCAD-86 unifont 1.0\r\n\x1a";
  const std::string record = name + '\0' + metrics;
  Put(bytes, shapes.size() + 1, 4);
  Put(bytes, 0, 2);
  Put(bytes, record.size(), 2);
  bytes += record;
  for (const Shape& shape : shapes) {
    Put(bytes, static_cast<std::size_t>(shape.code), 2);
    Put(bytes, shape.body.size(), 2);
    bytes += shape.body;
  }
  return bytes;
}

}  // namespace

CompiledFont CompileShp(std::string_view source, ShxLayout layout) {
  const auto records = ScanShp(source);
  const bool shapes_layout = layout == ShxLayout::kShapes;
  const std::size_t body_max = shapes_layout ? kShapesBodyMax : kUnifontBodyMax;
  CompiledFont font;
  const std::string name(records[0].name.substr(0, 128));
  const std::string metrics = MetricsOf(records[0], layout);
  std::vector<Shape> shapes;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const ShpRecord& record = records[i];
    ProgramCompiler compiler(record);
    Shape shape = {CodeOf(record), std::string(record.name) + '\0'};
    shape.body += compiler.Run();
    if (shape.body.size() > body_max) {
      FailAtLine(record.line, "the shape has " + std::to_string(shape.body.size()) +
                                  " bytes; the layout allows " + std::to_string(body_max));
    }
    if (compiler.scale() != 1.0) {
      font.warnings.push_back("line " + std::to_string(record.line) +
                              ": the shape leaves a scale behind, which compiled shapes pass on");
    }
    shapes.push_back(std::move(shape));
  }
  if (shapes_layout && shapes.size() >= kShapesMax) {
    throw std::runtime_error("more than 65534 shapes");
  }
  font.bytes =
      shapes_layout ? ShapesFile(name, metrics, shapes) : UnifontFile(name, metrics, shapes);
  return font;
}

}  // namespace kr_app
