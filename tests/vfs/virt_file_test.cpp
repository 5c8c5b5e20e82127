#include "krdcmmn/vfs/virt_file.h"

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Raised;
using krtest::ValuesOf;

class VirtFile : public testing::Test {
 protected:
  void reopen() {
    file_.w_close();
    ASSERT_EQ(file_.r_open(nullptr), 0);
  }
  KRD::virt_file file_;
  Ints array_;
};

TEST_F(VirtFile, StreamHoldsWordsTextAndLinkWithNothingBetween) {
  file_.w_open("f");
  file_.strput("hi");
  Fill(array_, {1, 2, 3});
  file_.ma_put(array_);
  EXPECT_EQ(array_.count(), 0u);
  ASSERT_EQ(file_.count(), 31u);
  EXPECT_EQ(file_.first(), 11);
  EXPECT_EQ(file_.last(), 11);
  EXPECT_EQ(file_.next(11), -1);
  const unsigned block = static_cast<unsigned>(file_.getSizePack());
  file_.w_close();
  EXPECT_EQ(file_.sizeFull, block + 12);

  ASSERT_EQ(file_.r_open(nullptr), 0);
  const std::string stream(static_cast<const char*>(file_.get(3)), 23);
  EXPECT_EQ(stream, std::string("hi\0\xff\xff\xff\xff\3\0\0\0\0\0\0\0\0\0\0\0\4\0\4\0", 23));
}

TEST_F(VirtFile, ReadsComeInTheOrderOfTheWrites) {
  file_.w_open("f");
  std::memcpy(file_.put(4), "abcd", 4);
  file_.strput("x");
  file_.ma_put(*Fill(array_, {5, -6, 7, 8}));
  std::memcpy(file_.put(4), "efgh", 4);
  Ints second;
  file_.ma_put(*Fill(second, {}));
  reopen();

  EXPECT_EQ(Raised([&] { file_.ma_get(array_); }), "109 f");
  file_.posC() = 8;
  EXPECT_EQ(std::string(static_cast<char*>(file_.get(4)), 4), "abcd");
  char text[2];
  file_.strget(text);
  EXPECT_STREQ(text, "x");
  EXPECT_EQ(Raised([&] { file_.get(4); }), "111 f");
  EXPECT_EQ(Raised([&] { file_.strget(text); }), "113 f");
  file_.ma_get(array_);
  EXPECT_EQ(ValuesOf(array_), (std::vector<std::int32_t>{5, -6, 7, 8}));
  EXPECT_EQ(std::string(static_cast<char*>(file_.get(4)), 4), "efgh");
  file_.ma_get(array_);
  EXPECT_EQ(array_.count(), 0u);
  EXPECT_EQ(file_.r_close(), 0);
}

TEST_F(VirtFile, NothingIsReadPastTheEnd) {
  file_.w_open("f");
  std::memcpy(file_.put(5), "abcde", 5);
  reopen();
  EXPECT_EQ(Raised([&] { file_.get(-1); }), "110 f");
  file_.posC() = 8;
  char text[8];
  EXPECT_EQ(Raised([&] { file_.strget(text); }), "112 f");
  EXPECT_EQ(file_.posC(), 14);
  EXPECT_EQ(Raised([&] { file_.strget(text); }), "112 f");
  file_.posC() = 8;
  EXPECT_EQ(Raised([&] { file_.ma_get(array_); }), "108 f");
  file_.posC() = 8;
  for (int i = 0; i < 3; ++i) {  // the position moves on, and does not wrap around
    EXPECT_EQ(Raised([&] { file_.get(0x7fffffff); }), "110 f");
  }
  file_.posC() = 8;
  file_.get(5);
  EXPECT_EQ(file_.r_close(), 0);
}

TEST_F(VirtFile, EachStateAllowsItsOwnOperations) {
  char text[8];
  for (int state : {-1, 0, 1, 2, 3}) {
    file_.w_open("f");
    file_.state = state;
    EXPECT_EQ(Raised([&] { file_.put(1); }), "106 f");
    EXPECT_EQ(Raised([&] { file_.strput("a"); }), "106 f");
    EXPECT_EQ(Raised([&] { file_.ma_put(array_); }), "106 f");
  }
  file_.w_open("f");
  EXPECT_EQ(file_.r_open(nullptr), 1);
  EXPECT_EQ(Raised([&] { file_.get(1); }), "105 f");
  EXPECT_EQ(Raised([&] { file_.strget(text); }), "105 f");
  EXPECT_EQ(Raised([&] { file_.ma_get(array_); }), "105 f");
  EXPECT_EQ(Raised([&] { file_.put(-1); }), "4");
  EXPECT_EQ(file_.count(), 8u);
}

TEST_F(VirtFile, NeverSavedFileIsReadOnce) {
  file_.w_open("f");
  file_.ma_put(*Fill(array_, {1}));
  reopen();
  EXPECT_EQ(file_.r_close(), 1);  // the array was left behind
  EXPECT_EQ(file_.state, -1);
  EXPECT_FALSE(file_.inMemory());
  EXPECT_EQ(file_.r_open(nullptr), 1);
}

TEST_F(VirtFile, NamesAreCutTo15Bytes) {
  file_.w_open("123456789012345");
  EXPECT_STREQ(file_.name, "123456789012345");
  file_.w_open("1234567890123456");
  EXPECT_STREQ(file_.name, "123456789012345");
}

TEST_F(VirtFile, ArraysOfAnotherElementSizeAreRefusedAndStay) {
  file_.w_open("f");
  file_.ma_put(*Fill(array_, {1, 2}));
  reopen();
  KRD::TARRAY<char> bytes;
  EXPECT_EQ(Raised([&] { file_.ma_get(bytes); }), "109 f");
  file_.posC() = 8;
  file_.ma_get(array_);
  EXPECT_EQ(array_.count(), 2u);
}

TEST_F(VirtFile, TextsOfTheStreamItselfCanBeAppended) {
  file_.w_open("f");
  file_.strput("abcdefgh");
  for (int i = 0; i < 5; ++i) {
    file_.strput(static_cast<char*>(file_.put(0)) - 9);
  }
  reopen();
  char text[9];
  for (int i = 0; i < 6; ++i) {
    file_.strget(text);
    EXPECT_STREQ(text, "abcdefgh");
  }
}

TEST_F(VirtFile, LinksNameTheirArraysWhileTheStreamMoves) {
  file_.w_open("f");
  std::vector<KRD::MARRAY*> arrays;
  for (int i = 0; i < 500; ++i) {
    file_.put(i % 7);
    file_.ma_put(*Fill(array_, {i}));
    arrays.push_back(&file_.ma(file_.last()));
  }
  int offset = file_.first();
  for (int i = 0; i < 500; ++i, offset = file_.next(offset)) {
    ASSERT_EQ(&file_.ma(offset), arrays[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(offset, -1);
  EXPECT_EQ(Raised([&] { file_.ma(9); }), "6");
}

}  // namespace
