// What hands do to the view, and what the window shows then.
#include "apps/krview/viewer.h"

#include <cmath>
#include <random>

#include "tests/krview/stage.h"

namespace {

using namespace krtest;
using kr_view::Event;
using kr_view::EventKind;

class View : public testing::Test {
 protected:
  PlateFile file_;
  Shown s{*file_.library};
};

int Different(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b) {
  int count = a.size() == b.size() ? 0 : 1000000;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    count += a[i] != b[i] ? 1 : 0;
  }
  return count;
}

TEST_F(View, showsAllOfTheDrawingAtFirst) {
  EXPECT_EQ(s.viewer.title(), "plate - krview");
  EXPECT_EQ(s.viewer.redraws(), 1);
  for (KRD::DOT corner : {KRD::DOT{0, 0}, {120000, 0}, {120000, 80000}, {0, 80000}}) {
    const int x = s.device().wndX(corner.x);
    const int y = s.device().wndY(corner.y);
    ASSERT_TRUE(x > 0 && x < Shown::kWidth && y > 0 && y < s.device().height());
    EXPECT_EQ(s.picture()[static_cast<std::size_t>(y * Shown::kWidth + x)], 0u);
  }
}

TEST_F(View, wheelKeepsThePointUnderTheCursor) {
  for (const auto& [x, y] : {POINT{200, 150}, POINT{3, 2}, POINT{399, 299}, POINT{120, 280}}) {
    for (int steps : {1, -1, 7, -4, 12, -15}) {
      const KRD::DOT before = s.modelAt(x, y);
      const double scale = s.device().GetScale();
      s.play("wheel " + std::to_string(steps) + ' ' + std::to_string(x) + ' ' + std::to_string(y));
      EXPECT_NEAR(s.device().GetScale(), scale * std::pow(2, steps / 5.0), scale * 1e-9);
      // Half a pixel for every step.
      const double pixel = std::max(1 / s.device().GetScale(), 1 / scale);
      EXPECT_NEAR(s.modelAt(x, y).x, before.x, pixel * (std::abs(steps) + 1) / 2 + 1) << steps;
      EXPECT_NEAR(s.modelAt(x, y).y, before.y, pixel * (std::abs(steps) + 1) / 2 + 1) << steps;
      EXPECT_TRUE(s.asRedrawn());
    }
    s.play("key f");
  }
}

TEST_F(View, panInsideTheBufferCopiesAndBeyondItRedraws) {
  s.play("wheel 5 200 150\nmove 5 5");
  const int redraws = s.viewer.redraws();
  const KRD::DOT grabbed = s.modelAt(200, 150);
  s.play("drag middle 200 150 230 110");
  EXPECT_EQ(s.viewer.redraws(), redraws);
  EXPECT_NEAR(s.modelAt(230, 110).x, grabbed.x, 1 / s.device().GetScale());
  EXPECT_NEAR(s.modelAt(230, 110).y, grabbed.y, 1 / s.device().GetScale());
  EXPECT_TRUE(s.asRedrawn());

  const int again = s.viewer.redraws();
  s.play("hold space\ndrag left 390 290 5 5\nlet space\nleave");
  EXPECT_GT(s.viewer.redraws(), again);
  EXPECT_TRUE(s.asRedrawn());

  // There and back again is the same view: nothing adds up.
  const std::vector<std::uint32_t> before = s.picture();
  s.play("press middle 100 100\nmove 133 57\nmove 290 280\nmove 100 100\nrelease middle 100 100");
  EXPECT_EQ((s.play("leave"), s.picture()), before);
}

TEST_F(View, keysScrollByPartsOfTheWindow) {
  struct {
    const char* key;
    int dx, dy;
  } rows[] = {{"left", -40, 0},          {"right", 40, 0},          {"up", 0, -30},
              {"down", 0, 30},           {"pageup", 0, -270},       {"pagedown", 0, 270},
              {"shift+pageup", -360, 0}, {"shift+pagedown", 360, 0}};
  for (const auto& row : rows) {
    const KRD::DOT moved = s.modelAt(200 + row.dx, 150 + row.dy);
    s.play(std::string("key ") + row.key);
    EXPECT_NEAR(s.modelAt(200, 150).x, moved.x, 1 / s.device().GetScale()) << row.key;
    EXPECT_NEAR(s.modelAt(200, 150).y, moved.y, 1 / s.device().GetScale()) << row.key;
    EXPECT_TRUE(s.asRedrawn()) << row.key;
  }
}

TEST_F(View, rubberBandVanishesWithoutARedraw) {
  const std::vector<std::uint32_t> before = s.picture();
  const int redraws = s.viewer.redraws();
  s.play("move 50 60\npress left 50 60\nmove 300 200");
  const std::vector<std::uint32_t> banded = s.picture();
  // All of the frame is the inverse of what was there, and nothing else changed.
  for (int y = 0; y < 300; ++y) {
    for (int x = 0; x < Shown::kWidth; ++x) {
      const bool frame =
          (x == 50 || x == 300) ? y >= 60 && y <= 200 : (y == 60 || y == 200) && x > 50 && x < 300;
      const auto i = static_cast<std::size_t>(y * Shown::kWidth + x);
      ASSERT_EQ(banded[i] ^ before[i], frame ? 0xffffffu : 0u) << x << ' ' << y;
    }
  }
  s.play("move 90 290\nmove 52 61");
  EXPECT_NE(s.picture(), before);
  s.play("key escape\nleave");
  EXPECT_EQ(s.picture(), before);
  s.play("release left 300 200");
  EXPECT_EQ(s.picture(), before) << "a cancelled drag does nothing at its end";
  s.play(
      "press left 50 60\nmove 300 200\npress right 300 200\nrelease right 300 200\n"
      "release left 300 200\nleave");
  EXPECT_EQ(s.picture(), before);
  s.play("press left 50 60\nrelease left 52 61\nleave");
  EXPECT_EQ(s.picture(), before) << "a click is no rectangle";
  EXPECT_EQ(s.viewer.redraws(), redraws);
}

TEST_F(View, draggedRectangleFillsTheWindow) {
  const KRD::DOT centre = s.modelAt(150, 120);
  s.play("drag left 200 160 100 80");
  EXPECT_NEAR(s.modelAt(200, 150).x, centre.x, 2 / s.device().GetScale());
  EXPECT_NEAR(s.modelAt(200, 150).y, centre.y, 2 / s.device().GetScale());
  EXPECT_TRUE(s.asRedrawn());
}

TEST_F(View, historyGoesBackAndForward) {
  std::vector<std::vector<std::uint32_t>> views{s.picture()};
  for (const char* step :
       {"wheel 6 100 100", "drag middle 200 200 150 100", "drag left 60 60 300 200"}) {
    s.play(std::string(step) + "\nleave\nwait 6000");
    views.push_back(s.picture());
  }
  EXPECT_EQ(s.device().viewNumber(), 4);
  EXPECT_EQ(s.device().viewCount(), 4);
  for (int i = 2; i >= 0; --i) {
    s.play("key backspace");
    EXPECT_EQ(s.picture(), views[static_cast<std::size_t>(i)]) << i;
    EXPECT_EQ(s.device().viewNumber(), i + 1);
  }
  s.play("key backspace");
  EXPECT_EQ(s.picture(), views[0]);
  for (std::size_t i = 1; i < views.size(); ++i) {
    s.play("key shift+backspace");
    EXPECT_EQ(s.picture(), views[i]) << i;
  }
  // A view that no timer has entered yet is not lost on the way back.
  s.play("key right");
  const std::vector<std::uint32_t> latest = s.picture();
  s.play("key backspace");
  EXPECT_EQ(s.picture(), views[3]);
  s.play("key shift+backspace");
  EXPECT_EQ(s.picture(), latest);
}

TEST_F(View, hoveringMarksAndLeavesTheMainBufferAlone) {
  const std::vector<std::uint32_t> before = s.picture();
  const int redraws = s.viewer.redraws();
  const struct {
    KRD::DOT at;
    const char* what;
  } rows[] = {{{60000, 40000}, "line 144.222 long, layer 0"},
              {{68000, 60000}, "circle, radius 8.000, layer holes"},
              {{100000, 71000}, "arc, radius 11.000, layer 0"},
              {{15000, 40000}, "area of 4 corners, layer 0"},
              {{73000, 12000}, "text 5.000 high, layer 0"},
              {{100000, 30000}, "plate"}};
  for (const auto& row : rows) {
    s.play("move " + std::to_string(s.device().wndX(row.at.x)) + ' ' +
           std::to_string(s.device().wndY(row.at.y)));
    EXPECT_EQ(s.viewer.note(), row.what);
    EXPECT_EQ(s.picture() == before, std::string(row.what) == "plate") << row.what;
    // A pan shows what the main buffer holds: no mark is in it.
    s.play("press middle 200 150\nmove 210 160\nmove 200 150\nrelease middle 200 150\nleave");
    EXPECT_EQ(s.picture(), before) << row.what;
  }
  EXPECT_EQ(s.viewer.redraws(), redraws);
}

TEST_F(View, gridStandsAtRoundNumbers) {
  const std::vector<std::uint32_t> plain = s.picture();
  s.play("key g");
  const std::vector<std::uint32_t> points = s.picture();
  s.play("key g");
  const std::vector<std::uint32_t> lines = s.picture();
  s.play("key g");
  EXPECT_EQ(s.picture(), plain);
  // 24 pixels are 8 mm at this scale: the grid is 10 mm.
  std::vector<std::uint32_t> expected;
  for (int y = 0; y < 300; ++y) {
    for (int x = 0; x < Shown::kWidth; ++x) {
      const auto i = static_cast<std::size_t>(y * Shown::kWidth + x);
      bool column = false;
      bool row = false;
      for (int k = -50; k <= 50; ++k) {
        column = column || s.device().wndX(k * 10000) == x;
        row = row || s.device().wndY(k * 10000) == y;
      }
      if (plain[i] == Shown::kPaper) {
        ASSERT_EQ(lines[i] != plain[i], column || row) << x << ' ' << y;
        ASSERT_EQ(points[i] != plain[i], column && row) << x << ' ' << y;
      }
    }
  }
}

TEST_F(View, measuresADistance) {
  const std::vector<std::uint32_t> before = s.picture();
  const auto at = [&](std::int32_t x, std::int32_t y) {
    return std::to_string(s.device().wndX(x)) + ' ' + std::to_string(s.device().wndY(y));
  };
  const int redraws = s.viewer.redraws();
  s.play("key m\npress left " + at(10000, 10000) + "\nrelease left " + at(10000, 10000) +
         "\nmove " + at(40000, 50000));
  double distance = 0;
  ASSERT_EQ(std::sscanf(s.viewer.note().c_str(), "distance %lf", &distance), 1) << s.viewer.note();
  EXPECT_NEAR(distance, 50, 1 / s.device().GetScale() / 1000 * 2);
  EXPECT_NE(s.picture(), before);
  s.play("press left " + at(10000, 60000) + "\nrelease left " + at(10000, 60000) + "\nmove " +
         at(90000, 60000));
  std::sscanf(s.viewer.note().c_str(), "distance %lf", &distance);
  EXPECT_NEAR(distance, 50, 1 / s.device().GetScale() / 1000 * 2) << "the second click ends it";
  s.play("key escape\nleave");
  EXPECT_EQ(s.picture(), before);
  EXPECT_EQ(s.viewer.note(), "plate");
  EXPECT_EQ(s.viewer.redraws(), redraws);
}

TEST_F(View, helpLiesOverTheViewAndGoes) {
  const std::vector<std::uint32_t> before = s.picture();
  s.play("key ?");
  EXPECT_GT(Different(s.picture(), before), 10000);
  EXPECT_EQ(s.viewer.pointer(), kr_view::Pointer::kArrow);
  s.play("key f");  // only closes it
  EXPECT_EQ(s.picture(), before);
  EXPECT_EQ(s.device().viewCount(), 1);
}

TEST_F(View, shrunkToNothingAndGrown) {
  const std::vector<std::uint32_t> before = s.picture();
  for (const char* size : {"1 1", "1 400", "700 1", "2 23", "900 622", "400 322"}) {
    s.play(std::string("size ") + size + "\nwheel 1 0 0\nkey ?\nkey escape\nkey tab\nkey escape");
    EXPECT_TRUE(s.asRedrawn()) << size;
  }
  s.play("key f\nleave");
  EXPECT_EQ(s.picture(), before);
  Shown large(*file_.library, 900, 622);
  s.play("size 900 622\nkey f\nleave");
  EXPECT_EQ(s.picture(), large.picture());
}

TEST_F(View, eventsThatCameTogetherCostOneRedraw) {
  const int redraws = s.viewer.redraws();
  for (int i = 0; i < 20; ++i) {
    s.viewer.handle(
        {.kind = EventKind::kWheel, .x = 100 + i, .y = 90, .steps = i % 3 == 0 ? -1 : 1});
    s.viewer.handle({.kind = EventKind::kKey, .key = kr_view::Key::kDown});
  }
  EXPECT_TRUE(s.viewer.update());
  EXPECT_EQ(s.viewer.redraws(), redraws + 1);
  EXPECT_FALSE(s.viewer.update()) << "nothing happened, nothing is painted";
}

// Whatever was done, what is seen is what drawing anew gives, and a move over it leaves no trace.
TEST_F(View, anyEventsLeaveThePictureOfTheView) {
  std::mt19937 random(7);
  const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  const auto place = [&] {
    return std::to_string(below(460) - 30) + ' ' + std::to_string(below(380) - 30);
  };
  const char* keys[] = {
      "left", "right", "up", "down", "pageup", "pagedown", "backspace",       "f", "escape",
      "g",    "m",     "+",  "-",    "tab",    "?",        "shift+backspace", "b", "shift+pageup"};
  for (int round = 0; round < 60; ++round) {
    std::string script;
    for (int i = 0; i < 12; ++i) {
      const char* button = below(2) == 0 ? "left" : "middle";
      switch (below(8)) {
        case 0:
          script += std::string("drag ") + button + ' ' + place() + ' ' + place();
          break;
        case 1:
          script += "wheel " + std::to_string(below(30) - 15) + ' ' + place();
          break;
        case 2:
          script += std::string("press ") + button + ' ' + place();
          break;
        case 3:
          script += std::string("release ") + button + ' ' + place();
          break;
        case 4:
          script += "move " + place();
          break;
        case 5:
          script += "wait " + std::to_string(below(7000));
          break;
        case 6:
          script += below(4) != 0 ? "leave"
                                  : "size " + std::to_string(1 + below(600)) + ' ' +
                                        std::to_string(1 + below(500));
          break;
        default:
          script += std::string("key ") + keys[below(std::size(keys))];
      }
      script += '\n';
    }
    s.play(script + "key escape\nkey escape\nlet space\nleave\n");
    const std::vector<std::uint32_t> shown = s.picture();
    ASSERT_EQ(Different(shown, s.redrawn()), 0) << script;
    ASSERT_TRUE(std::isfinite(s.device().GetScale()) && s.device().GetScale() > 0) << script;
  }
}

}  // namespace
