// ShapeReader: the pen that lives for one load and turns shape programs into primitives.
//
// The compiled form runs through RunProgram, the source form through ReadSource; both move the pen
// by the same drawing steps. Pen positions are whole font units. All coordinates saturate at 32
// bits and every loop goes forward through its input, so any bytes end in a font that is safe to
// draw: a load appends at most one primitive for each command, pair or triple it reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/font/appender.h"
#include "krdcmmn/font/font.h"

namespace kr {

class ShapeReader {
 public:
  // `target_font` is borrowed, and its geometry arrays are the reader's until Finish.
  explicit ShapeReader(font* target_font);
  // Finishes.
  ~ShapeReader();
  ShapeReader(const ShapeReader&) = delete;
  ShapeReader& operator=(const ShapeReader&) = delete;

  // Hands the arrays over with what was appended; appending may go on. False after a failure of
  // memory, which may have taken elements: the arrays are empty then.
  bool Finish() noexcept;

  // A guess at the primitives to come, which saves growing by steps.
  void Expect(std::size_t primitives);

  // Turns a shape's code into a slot through the ANSI code page: fontData->current becomes the
  // slot, which starts at the primitives to come. False, with `current` the code, for a code above
  // 128 whose image is below 128: the page does not show it and the shape is dropped.
  bool MapCode(std::int32_t code);

  // Runs all bytes of one compiled program, those behind an end of shape too. A command whose
  // operands are cut off does nothing.
  void RunProgram(const unsigned char* program, std::size_t size);
  // Closes a compiled shape: counts its primitives and puts the pen back to the origin, down.
  // `scale`, `saved` and `skipNext` hold into the next shape.
  void FinishCompiledShape();

  // Runs the tokenizer over a whole source. A token that nothing closes is dropped.
  void ReadSource(const char* first, const char* last);

  // The drawing steps; the straight ones are inline in shape_vectors.h. Except where one says so,
  // they move `target` and leave `pen`.
  void AddLine();
  // Moves `length` in one of 16 directions, a hexadecimal digit; any other character moves nothing.
  // Draws when the pen is down, and `pen` follows.
  void LengthVector(char direction_digit, std::int32_t length);
  // An arc of `radius` over the octants of an operand such as "012" or "-012": start octant and
  // count, a count of 0 being a circle. Start octants above 8 draw nothing. End octants outside 0
  // to 8 are taken modulo 8.
  void OctantArc(std::string_view operand_text);
  // An arc between octants: offsets in 1/256 of 45 degrees, as signed bytes. A negative operand is
  // the mirror image: it starts `start_offset` clockwise of its octant and sweeps clockwise; its
  // record holds the end first.
  void FractionalArc(unsigned char start_offset, unsigned char end_offset, std::int32_t arc_radius,
                     std::string_view operand_text);
  // An arc to a displacement; `bulge` (its low 16 bits) is the half angle in 1/127 of 90 degrees.
  // 0 is a line, drawn whatever the pen and outside of the box.
  void BulgeArc(std::int32_t dx, std::int32_t dy, std::int32_t bulge);
  void ChordArc(KRD::DOT from, KRD::DOT to, double half_angle, bool counter_clockwise);
  void EndShape();

  // The operand byte of an arc as its source text, in a buffer of this reader.
  std::string_view OctantText(unsigned char operand_byte);

  font* fontData;
  bool penDown = true;
  bool skipNext = false;     // command 14 has just run
  KRD::DOT pen = {0, 0};     // at the start of a command
  KRD::DOT target = {0, 0};  // at its end
  KRD::DOT saved = {0, 0};   // of commands 5 and 6
  double scale = 1.0;
  KRD::DOT boxLow = {0, 0};
  KRD::DOT boxHigh = {0, 0};
  std::int32_t radius = 0;      // of the octant arc at hand
  KRD::DOT direction = {0, 0};  // from its centre to its start
  std::int32_t primBase = 0;    // element count of primData at the end of the last shape

  // The tokenizer's; shp_source.cpp.
  std::uint8_t state = 0;
  std::int32_t headerCount = 0;  // progress through the font header
  std::int32_t operand = 1;      // which operand of a vector or an arc comes next
  std::int32_t scaleMode = 0;    // 1: the next number divides the scale, 2: multiplies it
  bool multi = false;            // command 9 or 13 is under way
  bool shapeEnded = false;       // command 0 has just run
  bool skipShape = false;        // the shape's code was dropped
  std::int32_t lastDx = 0;       // scaled parts of the last vector
  std::int32_t lastDy = 0;
  unsigned char arcStart = 0;  // operands of a fractional arc
  unsigned char arcEnd = 0;
  std::int16_t arcHigh = 0;
  std::int16_t arcRadius = 0;

 private:
  void TurnedVector(unsigned turn, std::int32_t length);  // turn: 0 to 15
  void FinishVector();                                    // draws and moves the pen
  void Vector(std::int32_t dx, std::int32_t dy);
  void MoveTarget(std::int32_t dx, std::int32_t dy);
  std::int32_t Scaled(std::int32_t length) const;
  // 0 has no quotient and changes nothing.
  void DivideScale(std::int32_t divisor);

  void AddPlainLine();  // leaves the box alone
  void AddArc(KRD::FDOT centre, double arc_radius, KRD::FDOT first, KRD::FDOT second);
  void AddCircle(KRD::DOT centre);
  void AddEntry(std::int32_t kind, unsigned record);

  const char* ReadVectors(const char* token, const char* last);
  void VectorToken(const char* token);
  void HandleToken(std::uint8_t from_state, std::string_view token);
  void HeaderToken(std::string_view token);
  void NumberToken(std::string_view token);
  void ProgramToken(std::string_view token);
  void CommandToken(std::string_view token);
  void CoordinateToken(std::string_view token);
  void OctantToken(std::string_view token);
  void FractionalToken(std::string_view token);
  void BulgeToken(std::string_view token);
  void FinishSourceShape();

  char octantText[8] = {};

  Appender<std::int32_t, std::int32_t> prims;  // kind, record
  Appender<KRD::DOT> lines;
  Appender<KRD::FDOT> arcs;
  Appender<KRD::DOT> circles;
};

}  // namespace kr
