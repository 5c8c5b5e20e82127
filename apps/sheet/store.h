// A container of drawings (.krd): a storage with one entry a drawing, under its full name.
// docs/krd-format.md describes the bytes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/common/app_store.h"
#include "apps/sheet/model.h"

namespace kr_sheet {

class SheetStore final : public kr_app::AppStore {
 public:
  SheetStore(const std::string& path, Access access);

  // What the container holds, in the order of the names' bytes.
  struct Entry {
    int index;  // in the storage's table
    std::string name;
    std::string damage;  // why it cannot be read; the name is the table's then
  };
  std::vector<Entry> list();

  // The drawing of an entry, its indices all checked. Throws Failure for a damaged one.
  std::unique_ptr<Drawing> load(const Entry& entry);
  // The drawing of that full name; null when there is none.
  std::unique_ptr<Drawing> load(const std::string& name);
  // Puts the drawing in the place of one with its name; its arrays are moved into the storage and
  // are empty afterwards.
  void put(Drawing& drawing);
  // Saves. Throws Failure.
  void commit();

 private:
  std::string nameAt(int index);
  int find(const std::string& name);

  std::vector<std::pair<int, std::string>> added_;  // by index: not to be read before the commit
};

}  // namespace kr_sheet
