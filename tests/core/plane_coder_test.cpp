#include "krdcmmn/core/plane_coder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "tests/core/planes.h"
#include "tests/core/reference_coder.h"

namespace {

using krtest::FromHex;
using krtest::Hex;
using krtest::PackString;
using krtest::PlaneMaker;
using krtest::ReferenceCoder;
using krtest::UnpackString;

TEST(PlaneCoder, StreamsAreThoseOfTheFormat) {
  const struct {
    std::string plane;
    const char* stream;
  } rows[] = {
      {"", ""},
      {"a", "00 61"},
      {"abc", "D1 61"},
      {"hello world", "0A 68 65 6C 6C 6F 20 77 6F 72 6C 64"},
      {"\1\2\3\4\5\6\7\10\11\12", "D8 01"},
      {std::string(20, '\0'), "53"},
      {std::string(5, '\xff'), "24"},
      {std::string(5, '\1'), "84"},
      {std::string(40, '\7'), "F6 62 07"},
      {std::string(2000, '\7'), "FE FC 67 07"},
      {FromHex("09 03 09 03 09 03 09 03"), "A5 09 03"},
      {FromHex("0A 09 0C 0B 0E 0D"), "C3 0A"},
      {FromHex("02 04 06 08"), "E2 02"},
      {FromHex("03 06 09 0C 0F"), "EA 03 03"},
      {FromHex("05 06 07"), "D1 05"},
      {FromHex("FA 05 10"), "02 FA 05 10"},        // a ramp over 255 is none
      {FromHex("FF 00 FF 00 01"), "92 80"},        // the old pair, then recent2 alone
      {FromHex("00 FF 00 07 07"), "B1 60 07"},     // the pair turned
      {FromHex("C8 90 58 20 FF"), "E9 C8 C8 20"},  // -56 is C8 in the stream; a lone recent1
      {FromHex("00 C8 00 C8 90 58"), "A1 00 C8 01 90 58"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(PackString(row.plane)), row.stream) << Hex(row.plane);
    EXPECT_EQ(Hex(ReferenceCoder::Pack(row.plane)), row.stream) << Hex(row.plane);
  }
}

// Every plane: the stream of the plain coder, its length measured without writing, and back.
void CheckPlane(const std::string& plane) {
  const std::string stream = PackString(plane);
  ASSERT_EQ(Hex(stream), Hex(ReferenceCoder::Pack(plane))) << Hex(plane);
  ASSERT_EQ(KRD::PackPlane(nullptr, plane.data(), plane.size()), stream.size()) << Hex(plane);
  for (const int vector_bytes : {0, 16, 32}) {
    std::string other(KRD::PackPlaneBound(plane.size()), '\0');
    const auto length = KRD::PackPlaneWith(vector_bytes, other.data(), plane.data(), plane.size());
    if (length >= 0) {
      other.resize(static_cast<std::size_t>(length));
      ASSERT_EQ(Hex(other), Hex(stream)) << vector_bytes << ": " << Hex(plane);
    }
  }
  ASSERT_LE(stream.size(), KRD::PackPlaneBound(plane.size()));
  const auto back = UnpackString(stream + "behind", plane.size());
  ASSERT_TRUE(back.good) << Hex(plane);
  ASSERT_EQ(Hex(back.plane), Hex(plane));
  ASSERT_EQ(back.used, stream.size());
  const char* const end = stream.data() + stream.size();
  KRD::PlaneReader reader(stream.data(), end);
  std::string pieces(plane.size(), 'x');
  for (std::size_t from = 0, n = 1; from < plane.size(); from += n, n = (n * 7 + from) % 150 + 1) {
    ASSERT_TRUE(reader.read(&pieces[from], std::min(n, plane.size() - from)));
  }
  ASSERT_EQ(Hex(pieces), Hex(plane));
  ASSERT_EQ(reader.position(), end);
  ASSERT_EQ(KRD::SkipPlane(plane.size(), stream.data(), end), end);
}

TEST(PlaneCoder, RandomPlanesGiveTheStreamOfThePlainCoderAndComeBack) {
  for (unsigned seed = 1; seed <= 3000 && !HasFatalFailure(); ++seed) {
    PlaneMaker maker(seed);
    SCOPED_TRACE(seed);
    CheckPlane(maker.Make(static_cast<std::size_t>(maker.Below(700))));
  }
  CheckPlane(PlaneMaker(0).Make(200000));
}

// Few different bytes in every order: no token kind, state change or tail is left out.
TEST(PlaneCoder, AllShortPlanesOfThreeBytes) {
  const char letters[] = {'\0', '\1', '\4'};
  for (int length = 1; length <= 8 && !HasFatalFailure(); ++length) {
    int planes = 1;
    for (int i = 0; i < length; ++i) {
      planes *= 3;
    }
    for (int number = 0; number < planes && !HasFatalFailure(); ++number) {
      std::string plane;
      for (int rest = number, i = 0; i < length; ++i, rest /= 3) {
        plane.push_back(letters[rest % 3]);
      }
      CheckPlane(plane);
    }
  }
}

TEST(PlaneCoder, DamagedStreamsEndInsideTheirBytes) {
  const struct {
    const char* what;
    std::string stream;
    std::size_t count;
    const char* plane;  // null: refused
  } rows[] = {
      {"nothing", "", 1, nullptr},
      {"prefixes without end", std::string(1000, '\xff'), 4, nullptr},
      {"prefixes without value", std::string(1000, '\xf0') + "\x41", 2, "00 00"},
      {"value beyond 64 bits", std::string(30, '\xff') + "\x5f", 3, "00 00 00"},
      {"literal behind the end", FromHex("03 01 02 03"), 4, nullptr},
      {"endless literal", std::string(30, '\xff') + "\x1f", 4, nullptr},
      {"run without its byte", FromHex("62"), 4, nullptr},
      {"alternation without its second byte", FromHex("A0 01"), 3, nullptr},
      {"ramp without its start", FromHex("E9 03"), 4, nullptr},
      {"overrun run", FromHex("5F"), 2, "00 00"},
      {"overrun literal", FromHex("03 01 02 03 04"), 2, "01 02"},
      {"overrun alternation", FromHex("AF 07 08"), 3, "07 08 07"},
      {"ramp modulo 256", FromHex("E8 C8 90"), 3, "90 58 20"},
  };
  for (const auto& row : rows) {
    const auto back = UnpackString(row.stream, row.count);
    const char* const end = row.stream.data() + row.stream.size();
    const char* const skipped = KRD::SkipPlane(row.count, row.stream.data(), end);
    EXPECT_EQ(back.good, row.plane != nullptr) << row.what;
    EXPECT_EQ(skipped, back.good ? row.stream.data() + back.used : nullptr) << row.what;
    EXPECT_EQ(Hex(back.plane), row.plane != nullptr ? row.plane : "") << row.what;
  }
}

}  // namespace
