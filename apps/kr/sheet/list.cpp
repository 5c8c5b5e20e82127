#include <cstdio>

#include "apps/common/errors.h"
#include "apps/kr/sheet/operations.h"
#include "apps/sheet/store.h"

namespace kr_app {
namespace {

double Millimetres(std::int64_t micrometres) {
  return static_cast<double>(micrometres) / 1000;
}

void Print(const kr_sheet::Drawing& drawing) {
  std::printf("%s\n  units     %s\n", drawing.name.c_str(), drawing.units.c_str());
  KRD::LTRB box;
  if (drawing.extents(box)) {
    std::printf("  extents   %.3f,%.3f to %.3f,%.3f mm (%.3f x %.3f)\n", Millimetres(box.left),
                Millimetres(box.bottom), Millimetres(box.right), Millimetres(box.top),
                Millimetres(std::int64_t{box.right} - box.left),
                Millimetres(std::int64_t{box.top} - box.bottom));
  }
  std::printf("  layers   ");
  for (const kr_sheet::Layer& layer : drawing.layers) {
    std::printf(" %s%s", drawing.names(layer.name),
                (layer.flags & kr_sheet::kLayerHidden) != 0 ? " (hidden)" : "");
    std::printf(&layer + 1 == drawing.layers.end() ? "" : ",");
  }
  std::printf("\n  elements ");
  kr_sheet::ForEachKind(drawing, [](const char* kind, const auto& elements) {
    if (elements.count() != 0) {
      std::printf(" %u %s", elements.count(), kind);
    }
  });
  std::printf("\n");
  for (const kr_sheet::Unread& row : drawing.unread) {
    std::printf("  not read  %d %s\n", row.count, drawing.names(row.what));
  }
}

}  // namespace

void SheetList(const std::string& path) {
  kr_sheet::SheetStore store(path, kr_sheet::SheetStore::Access::kRead);
  int damaged = 0;
  for (const kr_sheet::SheetStore::Entry& entry : store.list()) {
    try {
      Print(*store.load(entry));
    } catch (...) {
      ++damaged;
      std::fprintf(stderr, "kr: %s\n", TextOfException().c_str());
    }
  }
  if (damaged != 0) {
    throw Failure(path + ": " + std::to_string(damaged) + " drawings are damaged");
  }
}

}  // namespace kr_app
