// A vector font in memory: 256 glyph slots, one for each byte of a string, each with the lines,
// arcs and circles that its shape program drew while the font was loaded.
//
// Two forms of font file are read: compiled SHX (docs/shx-format.md) and its source SHP
// (docs/shp-source.md). No program is kept: drawing scales, turns and places the primitives.
//
// Units are those of the font, y upward, the glyph's origin at (0,0), the baseline on y = 0. A font
// belongs to one thread; a loaded font may be read from several.
#pragma once

#include <cstdint>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/font/font_exception.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/platform/export.h"
#include "krdcmmn/platform/types.h"
#include "krdcmmn/text/krdstr.h"

namespace kr {

// What an entry of font::primKind says, and how the record in its point array reads.
enum PRIM_KIND : std::int32_t {
  PRIM_LINE = 0,    // linePoints: from, to
  PRIM_ARC = 1,     // arcPoints: centre; (radius, 0.0); first end; second end
  PRIM_CIRCLE = 2,  // circlePoints: centre; (radius, 0)
};

class KRDCMMN_API font {
 public:
  static constexpr int kSlots = 256;

  // An empty font: no primitives, height 0.0.
  font();
  // A copy has the source's glyphs, metrics and file name, and an empty view. Its `text` points
  // into the source's view. Throws MA_EXCEPTION when there is no memory.
  font(const font& source);
  // The same; this font's own view and `sourceSize` stay as they are.
  font& operator=(const font& source);
  ~font();

  // Makes metrics, slots and name those of an empty font. The geometry arrays and the view stay.
  void Init();

  // Maps a file for reading and sets `text` to its first byte; an earlier view is unmapped. True.
  // Throws mapfile::MapExcept, with the earlier view in place, when the file cannot be mapped.
  bool Open(const char* path);
  // Unmaps the view; true. `text` keeps its value and is not to be read any more.
  bool Close();
  // Length of the view in bytes, also after it was closed.
  int size();

  // 1 when the first line of the file, cut to 128 bytes and ended by a zero byte, holds a magic of
  // the form; else 0, also when there is no such file.
  int IsNormalFont(const char* path);   // "AutoCAD-86 shapes 1.0" or "AutoCAD-86 shapes 1.1"
  int IsUnicodeFont(const char* path);  // "AutoCAD-86 unifont 1.0"

  // The loaders replace all glyphs; what the font held is gone unless a loader says otherwise.
  // A load costs time and memory in proportion to its input: a program cannot repeat or call
  // anything, so no byte of a font yields more than 24 bytes of primitives.

  // Loads by extension, ".shp" or ".shx" in any case. Throws FontException, with the
  // font unchanged, for an empty path and any other extension.
  bool LoadFile(const char* path);

  // Reads a compiled font of either layout and prints "\nDone.\n" on standard output. Throws
  // FontException, with the font empty, when no magic is found. False for a file that cannot be
  // read, is cut short, has no shape index or a record of a length that the layout forbids: the
  // shapes layout leaves an empty font then, the unifont layout the shapes ahead of the fault. A
  // record whose name has no end holds an empty program. A scale operand of 0 changes nothing.
  bool LoadFromSHXFile(const char* path);

  // Reads a source font, which stays mapped. False with the font unchanged when `path` is the file
  // of the last source load, ASCII letters in any case; false with an empty font for an empty path;
  // else true, whatever the source says. Throws mapfile::MapExcept, with an empty font, for a file
  // that cannot be mapped, and MA_EXCEPTION, with no primitives, when there is no memory.
  bool LoadFromSHPFile(const char* path);

  // Reads the source in resource `id` (16 bits are used) of type "SHP" of `module`. Throws
  // krerr::Win32Ecept, with the font unchanged, when there is no such resource.
  void LoadFromRes(HINSTANCE module, unsigned int id);

  // The entries [first, last) of primKind and primData that are slot `slot`, in drawing order, cut
  // to what the arrays hold; none for a slot below 0 or above 255. A source whose shapes have no
  // end can leave counts that run past the arrays, so every walk goes by this.
  struct PRIM_RANGE {
    int first;
    int last;
  };
  PRIM_RANGE Prims(int slot) const;

  // The first step of every loader: no primitives, zeroed slots, height 0.0; `descent` stays.
  void ResetGlyphs();
  // Counts of the five geometry arrays to 0; what they hold of memory stays.
  void EmptyGeometry();

  // What a load leaves. Loaders write it, drawing reads it. The slot tables always have 256
  // elements.
  mapfile view;                         // the mapped source
  const char* text;                     // its first byte; borrowed in a copy
  KRD::TARRAY<std::int32_t> primCount;  // primitives of each slot
  KRD::TARRAY<std::int32_t> primFirst;  // index of a slot's first primitive in primKind, primData
  KRD::TARRAY<std::int32_t> primKind;   // PRIM_KIND of each primitive
  KRD::TARRAY<std::int32_t> primData;   // element of its point array where its record starts
  KRD::TARRAY<KRD::DOT> linePoints;
  KRD::TARRAY<KRD::FDOT> arcPoints;  // counter-clockwise from the first end to the second
  KRD::TARRAY<KRD::DOT> circlePoints;
  KRD::TARRAY<KRD::DOT> boxMin;   // lower left of each slot's lines and the origin; slot 10 has
                                  // its pen position here, whose y is the line pitch
  KRD::TARRAY<KRD::DOT> boxMax;   // upper right
  KRD::TARRAY<KRD::DOT> advance;  // step from each slot's glyph to the next
  std::int32_t sourceSize;        // length of the mapped source in bytes
  double height;                  // above the baseline plus below it
  std::int32_t descent;           // below the baseline
  KRD::KRDSTR fileName;           // the source file last loaded
  std::int32_t current;           // while loading: the code, then the slot, of the shape
};

}  // namespace kr
