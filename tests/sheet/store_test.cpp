// Containers of drawings: there and back, replaced, refused, damaged.
#include "apps/sheet/store.h"

#include <fstream>

#include "krdcmmn/core/byte_order.h"

#include "apps/common/errors.h"
#include "apps/sheet/painter.h"
#include "tests/sheet/imported.h"
#include "tests/support/device.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace krtest;
using kr_sheet::Drawing;
using kr_sheet::SheetStore;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = SheetStore::Access;

// One element of every kind at least, and something that is not read.
std::string Everything() {
  const std::string at = "10\n1\n20\n2\n";
  return Dxf("0\nPOINT\n" + at + LineEntity("0", "0", "5", "5") + "0\nCIRCLE\n40\n3\n" + at +
                 "0\nARC\n40\n3\n50\n0\n51\n90\n" + at + "0\nTEXT\n40\n1\n1\nlabel\n" + at +
                 "0\nSOLID\n10\n0\n20\n0\n11\n4\n21\n0\n12\n0\n22\n4\n13\n4\n23\n4\n" +
                 "0\nLWPOLYLINE\n8\nwide\n62\n1\n43\n1\n10\n0\n20\n0\n10\n9\n20\n9\n" +
                 "0\nIMAGE\n",
             "", Entity("LAYER", {{2, "wide"}, {62, "3"}}));
}

std::string Dump(const Drawing& d) {
  std::string text = d.name + '|' + d.units + '|';
  const auto add = [&](const auto& array) {
    const char* bytes = reinterpret_cast<const char*>(array.begin());
    text.append(bytes, bytes + array.count() * sizeof(*array.begin()));
    text += '|';
  };
  kr_sheet::ForEachKind(d, [&](const char*, const auto& elements) { add(elements); });
  add(d.layers);
  add(d.pens);
  add(d.corners);
  add(d.unread);
  for (int i = 0; i < d.texts.nElem(); ++i) {
    text += d.texts(i);
  }
  for (int i = 0; i < d.names.nElem(); ++i) {
    text += d.names(i);
  }
  return text;
}

class Store : public testing::Test {
 protected:
  std::string path() const { return dir_.file("test.krd"); }

  void save(const std::string& name, const std::string& dxf) {
    SheetStore store(path(), Access::kWrite);
    Imported d = Import(dxf);
    d->name = name;
    store.put(*d);
    store.commit();
  }
  void expectRefused(const std::string& text) {
    try {
      SheetStore store(path(), Access::kRead);
      ADD_FAILURE() << "opened";
    } catch (const kr_app::Failure& failure) {
      EXPECT_THAT(failure.what(), HasSubstr(text));
      EXPECT_THAT(failure.what(), HasSubstr("test.krd"));
    }
  }

  TempDir dir_;
};

TEST_F(Store, DrawingComesBackAsItWas) {
  const std::string name = "a name that is far longer than fifteen bytes, with \u0416";
  Imported original = Import(Everything());
  original->name = name;
  const std::string before = Dump(*original);
  kr_sheet::ForEachKind(*original, [](const char* kind, const auto& elements) {
    EXPECT_EQ(elements.count(), 1u) << kind;
  });
  save(name, Everything());
  SheetStore store(path(), Access::kRead);
  const auto loaded = store.load(name);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(Dump(*loaded), before);
  EXPECT_EQ(loaded->texts("label"), 0);
  EXPECT_EQ(store.load("another"), nullptr);
}

TEST_F(Store, DrawingTakesThePlaceOfItsName) {
  save("one", Dxf(LineEntity("0", "0", "1", "1")));
  save("two", Everything());
  {
    // Twice before a commit: the last one counts.
    SheetStore store(path(), Access::kWrite);
    for (const char* x : {"2", "3"}) {
      Imported d = Import(Dxf(LineEntity("0", "0", x, "1")));
      d->name = "one";
      store.put(*d);
    }
    EXPECT_EQ(store.list().size(), 2u);
    store.commit();
    EXPECT_EQ(store.load("one")->lines[0].to.x, 3000);
  }
  SheetStore store(path(), Access::kRead);
  const auto entries = store.list();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, "one");
  EXPECT_EQ(entries[1].name, "two");
  EXPECT_EQ(store.load(entries[0])->lines[0].to.x, 3000);
}

TEST_F(Store, NothingIsLeftOfAContainerThatWasNotCommitted) {
  {
    SheetStore store(path(), Access::kWrite);
    Imported d = Import(Everything());
    store.put(*d);
  }
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Store, OtherFilesAreRefused) {
  expectRefused("no such file");
  WriteBytes(path(), "");
  expectRefused("an empty file");
  WriteBytes(path(), Everything());
  expectRefused("test.krd");
  // And stays as it is.
  EXPECT_THROW(save("one", Everything()), kr_app::Failure);
  EXPECT_EQ(ReadBytes(path()), Everything());
  for (const auto& [at, byte] : {std::pair(12, 'X'), std::pair(16, '\2')}) {
    std::filesystem::remove(path());
    save("one", Everything());
    std::string bytes = ReadBytes(path());
    bytes[static_cast<std::size_t>(at)] = byte;
    WriteBytes(path(), bytes);
    expectRefused("not a container of drawings");
  }
}

// Lists and draws whatever can be loaded; a failure names the file.
void UseAll(const std::string& path) {
  try {
    SheetStore store(path, Access::kRead);
    for (const auto& entry : store.list()) {
      try {
        const auto drawing = store.load(entry);
        EXPECT_EQ(drawing->damage(), "");
        KRD::LTRB box;
        drawing->extents(box);
        Stage stage(20, 20);
        kr_sheet::ShowBox(stage.device, box);
        kr_sheet::Painter(*drawing).draw(stage.device, 0xffffff);
      } catch (const kr_app::Failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("test.krd"));
      }
    }
  } catch (const kr_app::Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("test.krd"));
  }
}

TEST_F(Store, DamagedContainersEndInADrawingOrAFailure) {
  save("one", Everything());
  const std::string whole = ReadBytes(path());
  for (std::size_t i = 0; i < whole.size(); ++i) {
    std::string bytes = whole;
    bytes[i] = static_cast<char>(bytes[i] ^ (1 << i % 8));
    WriteBytes(path(), bytes);
    UseAll(path());
  }
  for (std::size_t size = 0; size < whole.size(); size += 3) {
    WriteBytes(path(), whole.substr(0, size));
    UseAll(path());
  }
}

// What a writer with other ideas could have stored under sound checksums.
TEST_F(Store, IndicesThatLeadNowhereAreFound) {
  using Change = void (*)(Drawing&);
  const Change changes[] = {
      [](Drawing& d) { d.layers[0].name = 1000; },
      [](Drawing& d) { d.layers[0].colour = -3; },
      [](Drawing& d) { d.layers[0].style = 5; },
      [](Drawing& d) { d.pens[0].layer = -1; },
      [](Drawing& d) { d.pens[0].style = -2; },
      [](Drawing& d) { d.pens[0].colour = 0x1000000; },
      [](Drawing& d) { d.lines[0].pen = static_cast<std::int32_t>(d.pens.count()); },
      [](Drawing& d) { d.points[0].pen = -1; },
      [](Drawing& d) { d.circles[0].radius = -1; },
      [](Drawing& d) { d.arcs[0].radius = -1; },
      [](Drawing& d) { d.tracks[0].width = -1; },
      [](Drawing& d) { d.polygons[0].first = 0x7fffffff; },
      [](Drawing& d) { d.polygons[0].first = -1; },
      [](Drawing& d) { d.polygons[0].count = 5; },
      [](Drawing& d) { d.polygons[0].count = 2; },
      [](Drawing& d) { d.polygons[0].loops = 0; },
      [](Drawing& d) { d.labels[0].text = 1; },
      [](Drawing& d) { d.labels[0].angle = 3600; },
      [](Drawing& d) { d.labels[0].align = 9; },
      [](Drawing& d) { d.labels[0].mirrored = 2; },
      [](Drawing& d) { d.labels[0].height = -1; },
      [](Drawing& d) { d.unread[0].what = -1; },
      [](Drawing& d) { d.texts.rawOffsets()[0] = 1; },
      [](Drawing& d) { d.texts.rawOffsets()[1] = 0x7fffffff; },
      [](Drawing& d) { d.texts.rawPool()[5] = 'x'; },
      [](Drawing& d) { d.texts.rawOffsets().empty(); },
  };
  int number = 0;
  for (const Change change : changes) {
    std::filesystem::remove(path());
    {
      SheetStore store(path(), Access::kWrite);
      Imported d = Import(Everything());
      change(*d);
      store.put(*d);
      store.commit();
    }
    SheetStore store(path(), Access::kRead);
    const auto entries = store.list();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_THROW(store.load(entries[0]), kr_app::Failure) << number;
    ++number;
  }
}

TEST_F(Store, DamagedDrawingCanBeReplaced) {
  save("one", Everything());
  // The name's text is the first thing in the entry; a length that lies is damage.
  std::string bytes = ReadBytes(path());
  for (std::size_t i = 24; i < bytes.size() / 2; i += 3) {
    bytes[i] = '\x55';
  }
  WriteBytes(path(), bytes);
  UseAll(path());
  save("one", Dxf(LineEntity("0", "0", "1", "1")));
  SheetStore store(path(), Access::kRead);
  const auto loaded = store.load("one");
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->lines.count(), 1u);
  EXPECT_EQ(store.list().size(), 1u);
}

}  // namespace
