// Source fonts: the tokenizer and what each token does. A token goes straight to the drawing steps.

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "krdcmmn/font/font.h"
#include "krdcmmn/font/font_exception.h"
#include "krdcmmn/font/shape_vectors.h"
#include "krdcmmn/font/shp_table.h"
#include "krdcmmn/font/token_number.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/modules.h"

namespace kr {

// A vector, whatever its digits: "0LD".
inline void ShapeReader::VectorToken(const char* token) {
  if (skipNext) {
    return;
  }
  const int length = std::max(HexDigit(token[1]), 0);
  const int turn = HexDigit(token[2]);
  if (turn >= 0) {
    TurnedVector(static_cast<unsigned>(turn), Scaled(length));
  } else {
    FinishVector();
  }
}

// Most of a program is vectors, three bytes that stay in their token and a comma: from the first
// byte of a token on they are read without a step for each byte. Gives where they end.
const char* ShapeReader::ReadVectors(const char* token, const char* last) {
  const auto stays = [&token](int i) {
    return kShpSteps[kProgram][static_cast<unsigned char>(token[i])].action == kNone;
  };
  while (last - token > 3 && token[3] == ',' && stays(0) && stays(1) && stays(2)) {
    VectorToken(token);
    token += 4;
  }
  return token;
}

void ShapeReader::ReadSource(const char* first, const char* last) {
  constexpr std::size_t kBytesForOne = 8;  // of a usual source, for one primitive
  Expect(static_cast<std::size_t>(last - first) / kBytesForOne);
  const char* token = first;
  std::uint8_t now = state;
  for (const char* byte = first; byte != last; ++byte) {
    if (byte == token && now == kProgram && !skipShape) {
      token = byte = ReadVectors(byte, last);
      if (byte == last) {
        break;
      }
    }
    const std::uint8_t from_state = now;
    const ShpStep step = kShpSteps[now][static_cast<unsigned char>(*byte)];
    now = step.next;
    if (step.action == kNone) {
      continue;
    }
    if (step.action == kToken) {
      state = now;
      HandleToken(from_state, {token, static_cast<std::size_t>(byte - token)});
      if (shapeEnded) {
        FinishSourceShape();
      }
      now = state;  // a command may have chosen another
    }
    token = byte + 1;
  }
  state = now;
}

void ShapeReader::FinishSourceShape() {
  const auto count = static_cast<std::int32_t>(prims.count());
  fontData->primCount[static_cast<unsigned char>(fontData->current)] = count - primBase;
  primBase = count;
  scale = 1.0;
  headerCount = 0;
  pen = target = saved = {0, 0};
  boxLow = boxHigh = {0, 0};
  shapeEnded = false;
  penDown = true;
}

void ShapeReader::HandleToken(std::uint8_t from_state, std::string_view token) {
  if (skipShape && from_state >= kProgram) {
    return;
  }
  switch (from_state) {
    case kHeader:
      HeaderToken(token);
      break;
    case kNumber:
      NumberToken(token);
      break;
    case kProgram:
      ProgramToken(token);
      break;
    case kParens:
      scaleMode != 0 ? CommandToken(token) : CoordinateToken(token);
      break;
    case kOctant:
      OctantToken(token);
      break;
    case kFractional:
      FractionalToken(token);
      break;
    case kBulge:
      BulgeToken(token);
      break;
    default:  // a shape's name
      break;
  }
}

// Number, length and name only count; the first number behind them that is not 0 is the height
// above the baseline, the next the depth below it. The count then starts far below 0, so that what
// follows is passed over.
void ShapeReader::HeaderToken(std::string_view token) {
  constexpr std::int32_t kBelowIsNext = -1;
  constexpr std::int32_t kDone = -51;
  const std::int32_t n = BlankedNumber(token);
  if (headerCount > 2 && n != 0) {
    fontData->height += n;
    headerCount = kBelowIsNext;
  } else if (headerCount == kBelowIsNext) {
    fontData->height += n;
    fontData->descent = n;
    headerCount = kDone;
  } else if (headerCount < std::numeric_limits<std::int32_t>::max()) {
    ++headerCount;
  }
}

void ShapeReader::NumberToken(std::string_view token) {
  std::string text(token);
  if (!text.empty() && text[0] == '0') {
    text.insert(0, "0x");
  }
  int code = 0;
  StrToIntExA(text.c_str(), 1, &code);
  skipShape = !MapCode(code);
}

void ShapeReader::ProgramToken(std::string_view token) {
  if (token.size() == 3) {
    VectorToken(token.data());
  } else if (!token.empty()) {
    CommandToken(token);
  }
}

void ShapeReader::CommandToken(std::string_view token) {
  const std::int32_t n = BlankedNumber(token);
  if (scaleMode != 0) {
    if (scaleMode == 1) {
      DivideScale(n);
    } else {
      scale *= n;
    }
    scaleMode = 0;
    return;
  }
  // Commands 1 to 6 take the skip off, 14 sets it, the others leave it.
  if (n >= 1 && n <= 6) {
    skipNext = false;
  }
  switch (n) {
    case 0:
      EndShape();
      shapeEnded = true;
      break;
    case 1:
    case 2:
      penDown = n == 1;
      break;
    case 3:
    case 4:
      scaleMode = n - 2;
      break;
    case 5:
      saved = pen;
      break;
    case 6:
      pen = target = saved;
      break;
    case 8:
    case 9:
      multi = n == 9;
      break;
    case 10:
      state = kOctant;
      break;
    case 11:
      state = kFractional;
      break;
    case 12:
    case 13:
      state = kBulge;
      multi = n == 13;
      break;
    case 14:
      skipNext = true;
      break;
    default:  // 7 too: the number behind it comes as a command of its own
      break;
  }
}

void ShapeReader::CoordinateToken(std::string_view token) {
  const std::int32_t n = BlankedNumber(token);
  if (operand == 1) {
    if (!skipNext) {
      lastDx = Scaled(n);
      MoveTarget(lastDx, 0);
    }
    operand = 2;
  } else if (operand == 2) {
    if (!skipNext) {
      lastDy = Scaled(n);
      MoveTarget(0, lastDy);
      if (multi && lastDx == 0 && lastDy == 0) {
        multi = false;
      } else {
        if (penDown) {
          AddLine();
        }
        pen = target;
      }
    }
    skipNext = false;
    operand = 1;
  }
}

void ShapeReader::OctantToken(std::string_view token) {
  if (token.empty()) {
    return;
  }
  if (operand == 1) {
    radius = Scaled(DecimalNumber(token));
    operand = 2;
  } else {
    OctantArc(token);
    operand = 1;
  }
  pen = target;
}

void ShapeReader::FractionalToken(std::string_view token) {
  const std::int32_t n = BlankedNumber(token);
  switch (operand++) {
    case 1:
      arcStart = static_cast<unsigned char>(n & 0xff);
      break;
    case 2:
      arcEnd = static_cast<unsigned char>(n & 0xff);
      break;
    case 3:
      arcHigh = static_cast<std::int16_t>(n & 0xffff);
      break;
    case 4:
      arcRadius = static_cast<std::int16_t>(n & 0xffff);
      break;
    default: {
      skipNext = false;
      const std::int64_t digits = std::abs(std::int64_t{n});
      const char text[4] = {'-', '0', static_cast<char>('0' + digits / 10 % 10),
                            static_cast<char>('0' + digits % 10)};
      FractionalArc(arcStart, arcEnd, Scaled(arcRadius),
                    {n < 0 ? text : text + 1, n < 0 ? 4u : 3u});
      pen = target;
      operand = 1;
    }
  }
}

void ShapeReader::BulgeToken(std::string_view token) {
  if (token.empty()) {
    return;
  }
  const std::int32_t n = BlankedNumber(token);
  if (operand == 1) {
    MoveTarget(Scaled(n), 0);
    operand = 2;
  } else if (operand == 2) {
    MoveTarget(0, Scaled(n));
    operand = 3;
    if (multi && target.x == pen.x && target.y == pen.y) {
      state = kProgram;
      multi = false;
      operand = 1;
    }
  } else if (operand == 3) {
    operand = 1;
    BulgeArc(0, 0, n);
    pen = target;
    if (!multi) {
      state = kProgram;
    }
    skipNext = false;
  }
}

namespace {

void LoadSource(font& target, const char* source, std::size_t size) {
  ShapeReader reader(&target);
  reader.ReadSource(source, source + size);
  if (!reader.Finish()) {
    KRD::MARRAY::MemoryError();
  }
}

}  // namespace

bool font::LoadFile(const char* path) {
  const char* extension = path != nullptr && *path != '\0' ? PathFindExtensionA(path) : "";
  if (lstrcmpiA(extension, ".shp") == 0) {
    return LoadFromSHPFile(path);
  }
  if (lstrcmpiA(extension, ".shx") == 0) {
    return LoadFromSHXFile(path);
  }
  throw FontException();
}

bool font::LoadFromSHPFile(const char* path) {
  if (path == nullptr) {
    path = "";
  }
  if (fileName.CompareNoCase(path) == 0) {
    return false;
  }
  ResetGlyphs();
  if (*path == '\0') {
    return false;
  }
  Open(path);
  fileName = path;
  sourceSize = static_cast<std::int32_t>(view.size());
  LoadSource(*this, text, view.size());
  return true;
}

void font::LoadFromRes(HINSTANCE module, unsigned int id) {
  const HRSRC resource = FindResourceA(module, id & 0xffff, "SHP");
  const auto loaded = resource != nullptr ? LoadResource(module, resource) : nullptr;
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (bytes == nullptr) {
    throw krerr::Win32Ecept();
  }
  const char* source = static_cast<const char*>(bytes);
  const DWORD size = SizeofResource(module, resource);
  ResetGlyphs();
  descent = 0;
  LoadSource(*this, source, size);
}

}  // namespace kr
