#include "krdcmmn/core/packed_block.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

#include "tests/core/planes.h"
#include "tests/support/temp_dir.h"

namespace {

using krtest::FromHex;
using krtest::Hex;

constexpr int kNothing = 0;
constexpr int kHostError = -1;
constexpr int kArrayError = -2;

// An array of any element size, and a file that it goes to and comes from.
class Elements : public KRD::MARRAY {
 public:
  Elements(int size, const std::string& bytes) {
    sizeElem = static_cast<short>(size);
    setNElem(static_cast<unsigned>(bytes.size()) / static_cast<unsigned>(size));
    std::copy(bytes.begin(), bytes.end(), data);
  }
  std::string bytes() const {
    return data == nullptr
               ? std::string()
               : std::string(data, std::size_t{nElem} * static_cast<std::size_t>(sizeElem));
  }
};

class PackedBlockTest : public testing::Test {
 protected:
  ~PackedBlockTest() override { SetFileHook({}); }

  std::string Written(const Elements& elements) {
    const HANDLE file = Open(CREATE_ALWAYS);
    EXPECT_EQ(elements.write(file), elements.getSizePack());
    CloseHandle(file);
    return krtest::ReadBytes(path_);
  }

  // What read throws: an int of its own, or one of the numbers above.
  int ReadFrom(const std::string& bytes, Elements& elements) {
    krtest::WriteBytes(path_, bytes);
    const HANDLE file = Open(OPEN_EXISTING);
    const int thrown = Thrown([&] { elements.read(file); });
    CloseHandle(file);
    return thrown;
  }

  HANDLE Open(DWORD disposition) {
    return CreateFileA(path_.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  }

  template <class Work>
  static int Thrown(Work work) {
    try {
      work();
    } catch (int number) {
      return number;
    } catch (KRD::EXCEPTION* e) {
      e->Delete();
      return kArrayError;
    } catch (const krerr::Win32Ecept&) {
      return kHostError;
    }
    return kNothing;
  }

  krtest::TempDir dir_;
  std::string path_ = dir_.file("block");
};

TEST_F(PackedBlockTest, BytesAreThoseOfTheFormat) {
  const struct {
    int size;
    std::string elements;
    const char* block;
  } rows[] = {
      {4, "", ""},
      {4, "abcdefghijkl", "61 62 63 64 65 66 67 68 69 6A 6B 6C"},
      {4, FromHex("01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00"),
       "05 00 00 00 D2 01 43 43 43 7E 84 95 BD"},
      {1, FromHex("FF FF FF FF FF FF FF FF 68 69 00"), "05 00 00 00 27 02 68 69 00 73 7A 95 BD"},
  };
  for (const auto& row : rows) {
    const Elements elements(row.size, row.elements);
    EXPECT_EQ(Hex(Written(elements)), row.block);
    Elements back(row.size, std::string(row.elements.size(), 'x'));
    EXPECT_EQ(ReadFrom(FromHex(row.block), back), kNothing);
    EXPECT_EQ(Hex(back.bytes()), Hex(row.elements));
  }
}

// By its rule, a byte a step.
std::uint32_t PlainChecksum(const std::string& bytes) {
  std::uint32_t sum = 0x0decabac;
  for (const char c : bytes) {
    sum = (sum << 1 | sum >> 31) + static_cast<unsigned char>(c);
  }
  return sum;
}

TEST_F(PackedBlockTest, ChecksumInStepsOfEightIsThatOfSingleBytes) {
  EXPECT_EQ(KRD::BlockChecksum("abc", 3), 0x6f65600bu);
  krtest::PlaneMaker maker(1);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = maker.Make(static_cast<std::size_t>(maker.Below(100)));
    // Carries come up where the sum is nearly all ones: bytes that fill it with ones from below,
    // and then any.
    for (int steps = 20 + maker.Below(20); steps > 0; --steps) {
      bytes.push_back(static_cast<char>(0xff - (PlainChecksum(bytes) << 1 & 0xff) -
                                        (PlainChecksum(bytes) >> 31)));
    }
    bytes += maker.Make(30);
    ASSERT_EQ(KRD::BlockChecksum(bytes.data(), bytes.size()), PlainChecksum(bytes)) << round;
  }
}

TEST_F(PackedBlockTest, ArraysOfAnyElementSizeComeBack) {
  const struct {
    int size;
    std::size_t count;
  } rows[] = {{1, 5},      {1, 100000},  {2, 777},  {3, 4},     {4, 1000},   {5, 333},
              {7, 64},     {8, 1025},    {12, 99},  {16, 4097}, {24, 31},    {64, 500},
              {65, 40},    {100, 16},    {4, 99},   {64, 4},    {16384, 17}, {32767, 4},
              {32767, 33}, {32767, 300}, {3, 70000}};
  unsigned seed = 0;
  for (const auto& row : rows) {
    krtest::PlaneMaker maker(++seed);
    const std::string bytes = maker.Make(row.count * static_cast<std::size_t>(row.size));
    const Elements elements(row.size, bytes);
    const std::string block = Written(elements);
    Elements back(row.size, std::string(bytes.size(), 'x'));
    ASSERT_EQ(ReadFrom(block + "behind", back), kNothing) << row.size;
    ASSERT_TRUE(back.bytes() == bytes) << row.size << " bytes, " << row.count;
  }
}

// More than fits the scratch at once: several groups of planes, checked before they are decoded.
TEST_F(PackedBlockTest, LargeArraysComeBackOrStayAsTheyWere) {
  const std::size_t count = 3000000;
  std::string bytes(count * 4, '\0');
  for (std::size_t i = 0; i < count; ++i) {
    KRD::StoreU32(&bytes[i * 4], static_cast<std::uint32_t>(i / 3 * 0x10007));
  }
  const Elements elements(4, bytes);
  std::string block = Written(elements);
  Elements back(4, std::string(bytes.size(), 'x'));
  ASSERT_EQ(ReadFrom(block, back), kNothing);
  ASSERT_TRUE(back.bytes() == bytes);

  const std::uint32_t length = KRD::LoadU32(block.data()) - 1;  // the last plane runs short
  block.resize(4 + length);
  KRD::StoreU32(block.data(), length);
  block.resize(8 + length);
  KRD::StoreU32(&block[4 + length], KRD::BlockChecksum(&block[4], length));
  Elements kept(4, std::string(bytes.size(), 'x'));
  EXPECT_EQ(ReadFrom(block, kept), 3);
  EXPECT_TRUE(kept.bytes() == std::string(bytes.size(), 'x'));
}

TEST_F(PackedBlockTest, AnyChangedOrMissingByteIsReportedAndNothingChanges) {
  const std::string bytes = krtest::PlaneMaker(5).Make(6 * 20);
  const std::string block = Written(Elements(6, bytes));
  const std::string untouched(bytes.size(), 'x');
  for (std::size_t i = 0; i < block.size(); ++i) {
    Elements cut(6, untouched);
    EXPECT_EQ(ReadFrom(block.substr(0, i), cut), 2) << i;
    EXPECT_EQ(cut.bytes(), untouched);
    for (int bit = 0; bit < 8; ++bit) {
      std::string changed = block;
      changed[i] = static_cast<char>(changed[i] ^ 1 << bit);
      Elements target(6, untouched);
      const int thrown = ReadFrom(changed, target);
      // A shorter length word finds another checksum; a longer one, the end of the file.
      EXPECT_TRUE(i < 4 ? thrown == 2 || thrown == 3 : thrown == 3) << i << ' ' << bit;
      EXPECT_EQ(target.bytes(), untouched);
    }
  }
}

TEST_F(PackedBlockTest, RawElementsThatTheFileDoesNotHoldAreZero) {
  Elements raw(4, "xxxxxxxx");
  EXPECT_EQ(ReadFrom("abcde", raw), kNothing);
  EXPECT_EQ(raw.bytes(), std::string("abcde\0\0\0", 8));
}

TEST_F(PackedBlockTest, FailingHostIsReported) {
  const Elements elements(4, krtest::PlaneMaker(6).Make(400));
  const Elements raw(4, "abcdefgh");
  const std::string block = Written(elements);
  const HANDLE file = Open(CREATE_ALWAYS);
  SetFileHook([](FileStep, std::uint64_t, DWORD) { return FileVerdict{ERROR_DISK_FULL}; });
  EXPECT_EQ(Thrown([&] { elements.write(file); }), kHostError);
  EXPECT_EQ(Thrown([&] { raw.write(file); }), kHostError);
  SetFileHook([](FileStep, std::uint64_t, DWORD) { return FileVerdict{0, 7}; });
  EXPECT_EQ(Thrown([&] { elements.write(file); }), 2);
  EXPECT_EQ(raw.write(file), 7);
  CloseHandle(file);
  Elements target(4, std::string(400, 'x'));
  EXPECT_EQ(ReadFrom(block, target), 2);
  SetFileHook([](FileStep, std::uint64_t, DWORD) { return FileVerdict{ERROR_ACCESS_DENIED}; });
  EXPECT_EQ(ReadFrom(block, target), kHostError);
  EXPECT_EQ(target.bytes(), std::string(400, 'x'));
}

}  // namespace
