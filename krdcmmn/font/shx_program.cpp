// The interpreter of compiled shape programs.

#include <algorithm>

#include "krdcmmn/font/font.h"
#include "krdcmmn/font/shape_vectors.h"

namespace kr {

namespace {

// Operand bytes of the commands 0 to 14; of the runs 9 and 13, those of their first element.
constexpr unsigned char kOperandBytes[15] = {
    0,  // end of shape
    0,  // pen down
    0,  // pen up
    1,  // divide the scale
    1,  // multiply the scale
    0,  // save the position
    0,  // go back to it
    1,  // subshape; six more when the first is 0
    2,  // vector: dx, dy
    2,  // vectors up to 0, 0
    2,  // octant arc: radius, octants
    5,  // fractional arc: start, end, high radius, radius, octants
    3,  // bulge arc: dx, dy, bulge
    3,  // bulge arcs up to 0, 0
    0,  // skip the next command
};

std::int32_t Signed(unsigned char byte) {
  return static_cast<std::int8_t>(byte);
}

}  // namespace

// One vector of command 8 or 9. A skipped one leaves a line of length zero under a lowered pen.
void ShapeReader::Vector(std::int32_t dx, std::int32_t dy) {
  if (!skipNext) {
    MoveTarget(Scaled(dx), Scaled(dy));
  }
  FinishVector();
}

std::string_view ShapeReader::OctantText(unsigned char operand_byte) {
  std::size_t size = 0;
  if (operand_byte & 0x80) {
    octantText[size++] = '-';
  }
  octantText[size++] = '0';
  octantText[size++] = static_cast<char>('0' + (operand_byte >> 4 & 7));
  octantText[size++] = static_cast<char>('0' + (operand_byte & 7));
  return {octantText, size};
}

void ShapeReader::RunProgram(const unsigned char* program, std::size_t size) {
  std::size_t i = 0;
  // What follows an element of a run: the two zero bytes that end it, or the next element.
  const auto more = [&](std::size_t element_size) {
    const bool ends = size - i < element_size || (program[i] == 0 && program[i + 1] == 0);
    if (ends) {
      i = std::min(i + 2, size);
    }
    return !ends;
  };
  while (i < size) {
    const unsigned char command = program[i++];
    if (command > 14) {
      // The byte's hexadecimal text: length and direction, or for 15 the length alone.
      if (!skipNext && command > 15) {
        TurnedVector(command & 15, Scaled(command >> 4));
      } else if (!skipNext) {
        FinishVector();
      }
      continue;
    }
    if (size - i < kOperandBytes[command]) {
      return;
    }
    const unsigned char* operands = program + i;
    i += kOperandBytes[command];
    switch (command) {
      case 0:
        EndShape();
        break;
      case 1:
      case 2:
        penDown = command == 1;
        skipNext = false;
        break;
      case 3:
        DivideScale(Signed(operands[0]));
        skipNext = false;
        break;
      case 4:
        scale *= Signed(operands[0]);
        skipNext = false;
        break;
      case 5:
        saved = pen;
        skipNext = false;
        break;
      case 6:
        pen = target = saved;
        skipNext = false;
        break;
      case 7:
        i = operands[0] == 0 ? std::min(i + 6, size) : i;
        break;
      case 8:
        Vector(Signed(operands[0]), Signed(operands[1]));
        break;
      case 9:
        Vector(Signed(operands[0]), Signed(operands[1]));
        for (; more(2); i += 2) {
          Vector(Signed(program[i]), Signed(program[i + 1]));
        }
        break;
      case 10:
        radius = Scaled(Signed(operands[0]));
        if (!skipNext) {
          OctantArc(OctantText(operands[1]));
        }
        pen = target;
        skipNext = false;
        break;
      case 11:
        FractionalArc(operands[0], operands[1], Scaled(operands[3]), OctantText(operands[4]));
        pen = target;
        skipNext = false;
        break;
      case 12:
        BulgeArc(Signed(operands[0]), Signed(operands[1]), Signed(operands[2]));
        pen = target;
        break;
      case 13:
        BulgeArc(Signed(operands[0]), Signed(operands[1]), Signed(operands[2]));
        pen = target;
        for (; more(3); i += 3) {
          BulgeArc(Signed(program[i]), Signed(program[i + 1]), Signed(program[i + 2]));
          pen = target;
        }
        break;
      case 14:
        skipNext = true;
        break;
    }
  }
}

void ShapeReader::FinishCompiledShape() {
  const auto count = static_cast<std::int32_t>(prims.count());
  fontData->primCount[static_cast<unsigned char>(fontData->current)] = count - primBase;
  primBase = count;
  pen = target = {0, 0};
  boxLow = boxHigh = {0, 0};
  penDown = true;
}

}  // namespace kr
