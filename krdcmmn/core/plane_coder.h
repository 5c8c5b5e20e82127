// The coder of one byte plane: runs, alternations, ramps and zigzags become tokens, everything else
// literals (block_format.h). The stream depends on the plane's bytes alone, whichever instructions
// the processor has. Stateless from call to call, any thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/platform/export.h"

namespace KRD {

// The most bytes that the stream of `count` bytes can take: a literal of 33 bytes and more costs a
// prefix more than the least that the token behind it saves.
constexpr std::size_t PackPlaneBound(std::size_t count) {
  return count + count / 32 + 16;
}

// Codes the `count` bytes at `plane` into `out`, for which there is room for PackPlaneBound, and
// gives the stream's length. A null `out` only measures; the result is the same.
std::size_t PackPlane(char* out, const char* plane, std::size_t count);

// The same with vectors of 0, 16 or 32 bytes; 0 stands for a host without vector instructions.
// Gives the length, or -1 when this processor does not have them.
std::ptrdiff_t PackPlaneWith(int vector_bytes, char* out, const char* plane, std::size_t count);

// Decodes one stream piece by piece. Its bytes stay where they are until it is done.
class PlaneReader {
 public:
  PlaneReader(const char* stream, const char* stream_end);

  // The plane's next `count` bytes. False, with the target's bytes unspecified, when they need more
  // of the stream than there is.
  bool read(char* target, std::size_t count);

  // Behind the last token that was begun.
  const char* position() const { return reinterpret_cast<const char*>(in_); }

 private:
  using Byte = std::uint8_t;

  // What is left of the last token.
  struct Piece {
    enum class Form { kCopy, kPattern, kClimb, kSaw };
    Form form = Form::kCopy;
    std::size_t left = 0;
    std::size_t done = 0;
    const Byte* source = nullptr;  // of a copy
    Byte first = 0;
    Byte second = 0;  // of a pattern; the step of a climb
  };

  Byte* readShort(Byte* out, const Byte* out_end);
  bool begin();
  void beginPattern(Byte first, Byte second);
  void beginClimb(Byte first);
  void fill(Byte* out, std::size_t n);
  Byte recent(unsigned i) const { return static_cast<Byte>(recents_ >> (8 * i)); }

  const Byte* in_;
  const Byte* in_end_;
  std::uint32_t recents_;  // the latest lowest
  Byte step_[2];
  Piece piece_;
};

// A whole stream to [target, target_end); gives the address behind it, where the next plane's
// stream begins. Null when the stream does not end inside [stream, stream_end), with the target's
// bytes unspecified then. A last token that overruns the plane is cut at the plane's end; its
// operands count in full.
const char* UnpackPlane(char* target, char* target_end, const char* stream, const char* stream_end);

// UnpackPlane for `count` bytes that writes nothing.
const char* SkipPlane(std::size_t count, const char* stream, const char* stream_end);

}  // namespace KRD
