// Turns chunks of a DXF file into items of a Source. dxflib decodes the entities of a fixed form
// and gives them by its callbacks. Those with lists in them (polylines, splines, hatches, leaders)
// are read from the groups here: dxflib leaves out the widths, and sizes its arrays by counts that
// a damaged file makes up.
#pragma once

#include <dxflib/dl_creationadapter.h>
#include <dxflib/dl_dxf.h>
#include <initializer_list>
#include <string>
#include <string_view>

#include "apps/sheet/dxf_groups.h"
#include "apps/sheet/dxf_source.h"

namespace kr_sheet {

class Collector : public DL_CreationAdapter {
 public:
  // Both outlive the collector.
  Collector(Source& source, std::string code_page, bool utf8);

  // An entry of the tables.
  void layer(const Chunk& chunk);
  void lineType(const Chunk& chunk);
  // What follows goes into a block; null: into the model. `paper` entities are only counted.
  void beginBlock(Block* block, bool paper);
  void entity(const Chunk& chunk);

  // dxflib's callbacks.
  void addPoint(const DL_PointData& d) override;
  void addLine(const DL_LineData& d) override;
  void addArc(const DL_ArcData& d) override;
  void addCircle(const DL_CircleData& d) override;
  void addEllipse(const DL_EllipseData& d) override;
  void addInsert(const DL_InsertData& d) override;
  void addTrace(const DL_TraceData& d) override;
  void addSolid(const DL_SolidData& d) override;
  void add3dFace(const DL_3dFaceData& d) override;
  void addMText(const DL_MTextData& d) override;
  void addText(const DL_TextData& d) override;
  void addAttribute(const DL_AttributeData& d) override;

 private:
  enum class Plane { kModel, kOwn };  // which coordinates an entity has

  std::string text(std::string_view bytes) const;
  void feed(const Chunk& chunk);
  std::int32_t layerIndex(std::string_view name);
  std::int32_t styleOf(std::string_view line_type) const;
  Look look(const Chunk& chunk);
  bool readPlane(const Chunk& chunk, Plane plane);
  void unread(const std::string& why);

  Item begin(Shape shape);
  void number(double v);
  void add(Item item);
  void addNumbers(Shape shape, std::initializer_list<double> numbers);
  void curve(const Curve& c);
  void filled(const DL_TraceData& d);
  void words(FDOT at, double height, double factor, double angle, int align, bool mirrored,
             std::string text);
  void alignedText(const DL_TextData& d);
  void dimension(const Chunk& chunk);
  void lightPolyline(const Chunk& chunk);
  void polyline(const Chunk& chunk);
  void vertex(const Chunk& chunk);
  void endPath();
  void leader(const Chunk& chunk);
  void spline(const Chunk& chunk);

  // Hatches (dxf_hatch.cpp).
  void hatch(const Chunk& chunk);

  Source& source_;
  std::string code_page_;
  bool utf8_;
  DL_Dxf dxf_;
  std::unordered_map<std::string, std::int32_t> layer_ids_;
  std::unordered_map<std::string, std::int32_t> kind_ids_;
  std::unordered_map<std::string, std::int32_t> block_ids_;
  std::unordered_map<std::string, std::int32_t> line_types_;

  Block* block_ = nullptr;
  bool paper_ = false;
  const Chunk* chunk_ = nullptr;  // the entity that is being read
  std::string kind_;
  bool flipped_ = false;
  bool taken_ = false;  // the entity became an item, or it was said why not

  // A POLYLINE whose vertices follow as entities of their own.
  bool in_polyline_ = false;
  bool path_open_ = false;  // it is one that is read
  Item path_{};
  double start_width_ = 0, end_width_ = 0;  // of its vertices that tell none
};

}  // namespace kr_sheet
