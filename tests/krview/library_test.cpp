// What is shown and chosen: containers, fonts, lists, the nearest element, scripts, the program.
#include "apps/krview/library.h"

#include <functional>
#include <random>
#include <set>

#include "apps/common/errors.h"
#include "apps/krview/chooser.h"
#include "apps/krview/nearest.h"
#include "apps/sheet/store.h"
#include "tests/krview/stage.h"
#include "tests/sheet/imported.h"
#include "tests/support/program.h"

namespace {

using namespace krtest;
using namespace kr_view;
using testing::HasSubstr;
using testing::StartsWith;

std::string WhyNot(const std::function<void()>& work) {
  try {
    work();
  } catch (const kr_app::Failure& e) {
    return e.what();
  }
  return "done";
}

class Container : public testing::Test {
 protected:
  void SetUp() override {
    kr_sheet::SheetStore store(path, kr_sheet::SheetStore::Access::kWrite);
    for (const char* name : {"cellar", "ground floor", "roof"}) {
      const std::string x = std::to_string(10 * std::string(name).size());
      Imported drawing = Import(Dxf(LineEntity("0", "0", x, "50")));
      drawing->name = name;
      store.put(*drawing);
    }
    store.commit();
  }
  TempDir dir_;
  const std::string path = dir_.file("plans.krd");
};

TEST_F(Container, drawingsAreChosenByKeysAndMouse) {
  const std::string bytes = ReadBytes(path);
  const auto library = OpenDrawings(path, Texts());
  EXPECT_THAT(library->names(), testing::ElementsAre("cellar", "ground floor", "roof"));
  Shown s(*library);
  const struct {
    const char* script;
    const char* title;
  } rows[] = {{"key down\nkey enter", "ground floor"},
              {"key end\nkey enter", "roof"},
              {"key up\nkey up\nkey up\nkey enter", "cellar"},
              {"text FLOOR\nkey enter", "ground floor"},
              {"text none\nkey enter\nkey escape", "ground floor"},
              {"text rx\nkey backspace\nkey end\nkey enter", "roof"},
              {"wheel 2 200 150\nkey enter", "cellar"},
              {"key pagedown\nkey home\nkey down\nkey escape", "cellar"},
              // Four lines in the middle of 300 rows: names at 127, 149 and 171.
              {"move 200 137\npress left 200 160", "ground floor"},
              {"press left 200 182\nrelease left 200 182", "roof"},
              {"press left 2 2\nrelease left 2 2", "roof"}};
  for (const auto& row : rows) {
    s.play(std::string("key tab\n") + row.script);
    EXPECT_EQ(s.viewer.title(), std::string(row.title) + " - krview") << row.script;
    EXPECT_EQ(s.device().viewCount(), 1) << "each begins a history of its own";
    EXPECT_TRUE(s.asRedrawn()) << row.script;
  }
  EXPECT_EQ(ReadBytes(path), bytes) << "nothing is ever written";
}

TEST_F(Container, longListsScrollToTheSelectedRow) {
  std::vector<std::string> names;
  for (int i = 0; i < 100; ++i) {
    names.push_back("drawing " + std::to_string(i));
  }
  Chooser chooser(names);
  chooser.open(300, 48 + 6 * Panel::kLine, 70);  // room for 5 names
  EXPECT_EQ(chooser.chosen(), 70u);
  const Event row{.kind = EventKind::kPress, .x = 150, .y = 24 + Panel::kLine + 5};
  EXPECT_EQ(chooser.handle(row), Chooser::Outcome::kChosen);
  EXPECT_EQ(chooser.chosen(), 66u) << "70 is the last of the five rows";
  chooser.handle({.kind = EventKind::kKey, .key = Key::kPageUp});
  EXPECT_EQ(chooser.chosen(), 61u);
  chooser.handle({.kind = EventKind::kWheel, .steps = -1000000});
  EXPECT_EQ(chooser.chosen(), 99u);
  chooser.resize(1, 1);
  EXPECT_EQ(chooser.chosen(), 99u);
}

TEST_F(Container, damagedOrChangedWhileItIsShown) {
  const std::string bytes = ReadBytes(path);
  const auto library = OpenDrawings(path, Texts());
  Shown s(*library);
  const std::vector<std::uint32_t> before = s.picture();
  for (const std::string& now : {std::string(), std::string("no container"), bytes.substr(0, 90),
                                 bytes.substr(0, bytes.size() / 2)}) {
    WriteBytes(path, now);
    s.play("key tab\nkey end\nkey enter\nleave");
    EXPECT_THAT(s.viewer.note(), StartsWith(path)) << now.size();
    EXPECT_EQ(s.viewer.title(), "cellar - krview");
    EXPECT_EQ(s.picture(), before);
    EXPECT_EQ(ReadBytes(path), now);
  }
  std::mt19937 random(11);
  for (int i = 0; i < 150; ++i) {
    std::string bad = bytes;
    bad[random() % bad.size()] ^= static_cast<char>(1 << random() % 8);
    WriteBytes(path, bad);
    s.play("key tab\nkey down\nkey enter\nwheel 1 9 9\nmove 200 150");  // shown, or refused
    const std::string why = WhyNot([&] { OpenDrawings(path, Texts())->load(0)->box(); });
    ASSERT_TRUE(why == "done" || why.starts_with(path)) << why;
  }
  std::filesystem::remove(path);
  s.play("key tab\nkey enter");
  EXPECT_THAT(s.viewer.note(), StartsWith(path));
}

TEST(Nearest, isWhatLookingAtEveryElementFinds) {
  std::mt19937 random(3);
  const auto number = [&](int n) { return std::to_string(random() % static_cast<unsigned>(n)); };
  std::string entities;
  for (int i = 0; i < 700; ++i) {
    const std::string x = number(1000);
    const std::string y = number(1000);
    entities +=
        i % 4 == 0   ? LineEntity(x, y, number(1000), number(1000))
        : i % 4 == 1 ? Entity("CIRCLE", {{10, x}, {20, y}, {40, "1" + number(40)}})
        : i % 4 == 2
            ? Entity("POINT", {{10, x}, {20, y}})
            : Entity(
                  "ARC",
                  {{10, x}, {20, y}, {40, "1" + number(30)}, {50, number(360)}, {51, number(360)}});
  }
  const Imported drawing = Import(Dxf(entities));
  const NearestIndex index(*drawing);
  int found = 0;
  for (int i = 0; i < 2000; ++i) {
    const KRD::DOT p{static_cast<std::int32_t>(random() % 1100000) - 50000,
                     static_cast<std::int32_t>(random() % 1100000) - 50000};
    const double reach = i % 2 == 0 ? 2000 : 20000;
    double least = reach + 1;
    int kind = 0;
    kr_sheet::ForEachKind(*drawing, [&](const char*, const auto& elements) {
      for (std::uint32_t k = 0; k < elements.count(); ++k) {
        least = std::min(least, DistanceTo(*drawing, {kind, k}, p, reach));
      }
      ++kind;
    });
    const auto element = index.find(p, reach);
    ASSERT_EQ(element.has_value(), least <= reach) << p.x << ' ' << p.y;
    if (element) {
      ++found;
      ASSERT_EQ(DistanceTo(*drawing, *element, p, reach), least);
    }
  }
  EXPECT_GT(found, 500);
}

TEST(Nearest, distancesByHand) {
  const Imported d =
      Import(Dxf(LineEntity("0", "0", "10", "0") +
                 Entity("ARC", {{10, "0"}, {20, "0"}, {40, "5"}, {50, "0"}, {51, "90"}}) +
                 Entity("LWPOLYLINE", {{43, "2"}, {10, "0"}, {20, "20"}, {10, "10"}, {20, "20"}})));
  EXPECT_DOUBLE_EQ(DistanceTo(*d, {kLine, 0}, {5000, 3000}, 1), 3000);
  EXPECT_DOUBLE_EQ(DistanceTo(*d, {kLine, 0}, {13000, -4000}, 1), 5000) << "past its end";
  EXPECT_NEAR(DistanceTo(*d, {kArc, 0}, {6000, 8000}, 1), 5000, 1e-6);
  EXPECT_NEAR(DistanceTo(*d, {kArc, 0}, {5000, -7000}, 1), 7000, 1e-6) << "below its start";
  EXPECT_DOUBLE_EQ(DistanceTo(*d, {kTrack, 0}, {5000, 20900}, 1), 0);
  EXPECT_DOUBLE_EQ(DistanceTo(*d, {kTrack, 0}, {5000, 23000}, 1), 2000);
}

TEST(Font, specimenTellsOfTheGlyphUnderTheCursor) {
  const std::string path = std::string(KRD_TEST_DATA) + "/strokes.shp";
  const auto library = OpenFont(path, "", Texts());
  Shown s(*library);
  EXPECT_EQ(s.viewer.title(), "strokes - krview");
  std::set<std::string> notes;
  for (int y = 2; y < 300; y += 6) {
    for (int x = 2; x < Shown::kWidth; x += 6) {
      s.viewer.handle({.kind = EventKind::kMove, .x = x, .y = y});
      s.viewer.update();
      notes.insert(s.viewer.note());
    }
  }
  kr::font font;
  ASSERT_TRUE(font.LoadFile(path.c_str()));
  std::size_t glyphs = 0;
  for (int slot = 0; slot < kr::font::kSlots; ++slot) {
    const auto prims = font.Prims(slot);
    glyphs += prims.first < prims.last ? 1 : 0;
  }
  EXPECT_EQ(notes.size(), glyphs + 1) << "every glyph once, and the name outside the table";

  const auto lines = OpenFont(path, "A\\nA", Texts());
  const auto one = OpenFont(path, "A", Texts());
  EXPECT_GT(lines->load(0)->box().top - lines->load(0)->box().bottom,
            one->load(0)->box().top - one->load(0)->box().bottom);
}

TEST(Script, errorsNameTheLine) {
  const struct {
    const char* script;
    const char* error;
  } rows[] = {
      {"jump", "s:1: jump: no such command"},
      {"\n# a comment\nmove 1", "s:3: no y"},
      {"move 1 2\nmove a 2", "s:2: a: x is a number from -1000000 to 1000000"},
      {"move 99999999999999999999 2", "s:1: 99999999999999999999: x is a number"},
      {"press left 1 2 3", "s:1: 3: one word too many"},
      {"press top 1 2", "s:1: top: no button; left, middle or right"},
      {"key", "s:1: no key"},
      {"key f13", "s:1: f13: no such key"},
      {"size 0 5", "s:1: 0: width is a number from 1 to 16384"},
      {"wait -1", "s:1: -1: milliseconds is a number from 0"},
      {"quit now", "s:1: now: one word too many"},
      {"screenshot", "s:1: no file"},
  };
  for (const auto& row : rows) {
    std::istringstream in(row.script);
    EXPECT_THAT(WhyNot([&] { ReadScript(in, "s"); }), StartsWith(row.error)) << row.script;
  }
  PlateFile file;
  Shown s(*file.library);
  EXPECT_THAT(WhyNot([&] { s.play("screenshot /nowhere/at/all.png"); }),
              HasSubstr("/nowhere/at/all.png"));
  s.play("key q\nkey right");
  EXPECT_TRUE(s.viewer.finished());
  EXPECT_EQ(s.picture(), Shown(*file.library).picture())
      << "what comes after the end is not played";
}

TEST(Frame, timersComeDueOnceAPeriod) {
  std::int64_t now = 50;
  FrameWindow window(4, 4, [&] { return now; });
  EXPECT_EQ(window.untilDue(), std::nullopt);
  SetTimer(window.handle(), 8, 100, nullptr);
  SetTimer(window.handle(), 9, 30, nullptr);
  EXPECT_EQ(window.untilDue(), 30);
  now = 149;
  EXPECT_EQ(window.untilDue(), 0);
  EXPECT_THAT(window.takeDue(), testing::ElementsAre(9u));
  EXPECT_THAT(window.takeDue(), testing::IsEmpty());
  EXPECT_EQ(window.untilDue(), 1);
  KillTimer(window.handle(), 9);
  now = 1000;
  EXPECT_THAT(window.takeDue(), testing::ElementsAre(8u));
  EXPECT_EQ(window.untilDue(), 100);

  InvalidateRect(window.handle(), nullptr, FALSE);
  InvalidateRect(window.handle(), nullptr, FALSE);
  EXPECT_TRUE(window.takeInvalid());
  EXPECT_FALSE(window.takeInvalid());
}

TEST(PanelText, isCutToItsRoom) {
  FrameWindow window(300, 40, [] { return std::int64_t{0}; });
  Panel panel(Texts());
  HDC dc = window.GetContext();
  panel.begin(dc, 300, 40);
  const std::string text = "a rather long line of text";
  const int whole = panel.width(text);
  EXPECT_EQ(panel.text(0, 20, text, 0xffffff, whole), whole);
  for (int room = 0; room < whole; ++room) {
    panel.fill({0, 0, 300, 40}, 0);
    const int took = panel.text(0, 20, text, 0xffffff, room);
    ASSERT_LE(took, room);
    int right = 0;
    const PIXELS p = window.pixels();
    for (int i = 0; i < 300 * 40; ++i) {
      if (p.data[std::ptrdiff_t{i / 300} * p.stride + i % 300] != 0) {
        right = std::max(right, i % 300);
      }
    }
    ASSERT_LE(right, room) << room;
    ASSERT_TRUE(room < 40 || took > room - 20) << "more would have had room: " << room;
  }
  panel.end();
  window.ReleaseContext(dc);
}

TEST(Program, drawsWithoutAScreenAndSaysWhatIsWrong) {
  PlateFile file;
  const std::string plate = file.dir.file("plate.dxf");
  WriteBytes(file.dir.file("script"), "move 9 9\nleave\nscreenshot b.png\n");
  WriteBytes(file.dir.file("bad.krd"), std::string(300, 'x'));
  WriteBytes(file.dir.file("bad.shx"), "AutoCAD-86");
  WriteBytes(file.dir.file("wrong"), "move 1 1\nmove\n");
  const auto run = [&](const std::vector<std::string>& arguments) {
    return krtest::Run(KRVIEW_PROGRAM, arguments, file.dir.path().string());
  };
  EXPECT_EQ(run({plate, "--size", "300x200", "--screenshot", "a.png"}).status, 0);
  EXPECT_EQ(run({plate, "--size", "300x200", "--headless", "--script", "script"}).status, 0);
  EXPECT_THAT(ReadBytes(file.dir.file("a.png")), StartsWith("\x89PNG"));
  EXPECT_THAT(ReadBytes(file.dir.file("b.png")), StartsWith("\x89PNG"));
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* error;
  } rows[] = {
      {{}, 2, "a drawing, a container or --font"},
      {{plate, "--size", "0x5"}, 2, "WIDTHxHEIGHT"},
      {{plate, "--size", "5x5x"}, 2, "WIDTHxHEIGHT"},
      {{"none.dxf", "--screenshot", "c.png"}, 1, "krview: none.dxf: no such file\n"},
      {{".", "--screenshot", "c.png"}, 1, "krview: .: a directory, not a file\n"},
      {{"bad.krd", "--screenshot", "c.png"}, 1, "krview: bad.krd: "},
      {{plate, "none", "--screenshot", "c.png"}, 1, "no drawing \"none\""},
      {{"--font", "bad.shx", "--screenshot", "c.png"},
       1,
       "bad.shx: not a font of a kind that is read, or a damaged one\n"},
      {{plate, "--headless", "--script", "wrong"}, 1, "krview: wrong:2: no x\n"},
      {{plate, "--headless", "--script", "none"}, 1, "krview: none: cannot be opened\n"},
      {{plate, "--screenshot", "no/where.png"}, 1, "no/where.png"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run(row.arguments);
    EXPECT_EQ(outcome.status, row.status) << row.error;
    EXPECT_THAT(outcome.err, HasSubstr(row.error));
  }
  EXPECT_FALSE(std::filesystem::exists(file.dir.file("c.png")));
}

}  // namespace
