// The client library as far as it needs no server: decimal texts, XBUFs, the layout of blocks.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/block.h"
#include "host/call.h"
#include "host/decimal.h"
#include "host/xbuf.h"

namespace vorlix::host {
namespace {

TEST(HostDecimal, IsReadExactlyAndWrittenShortest) {
  const std::tuple<const char*, HostReal, const char*> rows[] = {
      {"-0.000e99999999999999999999", {0, 1, 0, {}}, "0"},
      {"-0012.50", {1, 0, 2, {12, 50}}, "-12.5"},
      {"+.5", {0, 1, 1, {50}}, "0.5"},
      {"123.456", {2, 1, 4, {1, 23, 45, 60}}, "123.456"},
      {"1234567890123456", {8, 1, 8, {12, 34, 56, 78, 90, 12, 34, 56}}, "1234567890123456"},
      {"123456789012345.00", {8, 1, 8, {1, 23, 45, 67, 89, 1, 23, 45}}, "123456789012345"},
      {"0.000001", {-2, 1, 1, {1}}, "0.000001"},
      {"0.00000015E0", {-3, 1, 1, {15}}, "1.5E-7"},
      {"1e20", {11, 1, 1, {1}}, "100000000000000000000"},
      {"-1.25e21", {11, 0, 2, {12, 50}}, "-1.25E+21"},
      {"1e-130", {-64, 1, 1, {1}}, "1E-130"},
      {"9.9e125", {63, 1, 1, {99}}, "9.9E+125"},
  };
  for (const auto& [plain, expected, written] : rows)
    for (const char* const text : {plain, written}) {
      HostReal real{};
      ASSERT_EQ(ParseDecimal(text, real), DecimalFault::None) << text;
      EXPECT_EQ(real, expected) << text;
      EXPECT_EQ(FormatDecimal(real), written) << text;
    }
  EXPECT_EQ(FormatDecimal({0, REAL_INVALID, 1, {1}}), "invalid");
  EXPECT_EQ(FormatDecimal({1, 1, 200, {0, 200, 0, 0, 0, 0, 0, 0}}), "0.99") << "whatever the bytes are";
}

TEST(HostDecimal, IsRefusedWhenNoHostRealIsExactlyThat) {
  const std::pair<DecimalFault, std::vector<const char*>> rows[] = {
      {DecimalFault::NotANumber, {"", ".", "-", "e5", "1e", "1e+", " 1", "1 ", "1,5", "--1", "1.2.3", "0x10", "nan"}},
      {DecimalFault::TooManyDigits, {"1234567890123456.7", "1234567890.1234567"}},
      {DecimalFault::OutOfRange, {"1e126", "1e-131", "1e99999999999999999999"}},
  };
  for (const auto& [fault, texts] : rows)
    for (const char* const text : texts) {
      HostReal real = REAL_LARGEST;
      EXPECT_EQ(ParseDecimal(text, real), fault) << text;
      EXPECT_EQ(real, REAL_LARGEST) << text;
    }
  EXPECT_THROW(Real("ten"), std::invalid_argument);
}

TEST(HostXbuf, IsReadAndWritten) {
  const std::string longest = "X" + std::string(79, 'n') + "~0~0~$";
  // Each with what it is when it is written again, or with why it is refused.
  const std::pair<std::string, std::string> rows[] = {
      {"$", "$"},
      {{"Xa~12~5~a~$\0\xff$", 14}, {"Xa~12~5~a~$\0\xff$", 14}},
      {"xDict_Fld~~3~abcnB2~0~~$behind", "Xdict_fld~0~3~abcNb2~0~0~$"},
      {longest, longest},
      {"Xa~0~1~b", "XBUF: no $ at offset 8"},
      {"Ya~0~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"X9abc~0~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"Xa-b~0~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"X~0~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"Xn" + longest.substr(1), "XBUF: bad type letter, name or element index at offset 0"},
      {"Xabc", "XBUF: no $ at offset 4"},
      {"Xa~-1~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"Xa~2147483648~0~$", "XBUF: bad type letter, name or element index at offset 0"},
      {"Xa~0~9x~$", "XBUF: bad length at offset 5"},
      {"Xa~0~4294967296~$", "XBUF: bad length at offset 5"},
      {"Xa~0~3~ab", "XBUF: value cut off at offset 10"},
  };
  for (const auto& [xbuf, outcome] : rows) {
    try {
      EXPECT_EQ(WriteXbuf(ReadXbuf(xbuf)), outcome);
    } catch (const std::invalid_argument& fault) {
      EXPECT_EQ(fault.what(), outcome) << xbuf;
    }
  }
  const std::string latin =
      "XStra\xdf"
      "e~0~1~\xe4$";  // in the server's language, whatever that is here
  EXPECT_EQ(ReadXbuf(latin).at(0).name,
            "stra\xdf"
            "e");
  EXPECT_EQ(WriteXbuf({{'X',
                        "Stra\xdf"
                        "e",
                        0, "\xe4"}}),
            latin);
  EXPECT_THROW(WriteXbuf({{'Y', "a", 0, ""}}), std::invalid_argument);
  EXPECT_THROW(WriteXbuf({{'X', "a~b", 0, ""}}), std::invalid_argument);
}

TEST(HostBlock, LaysACallOutAndReadsItBack) {
  const std::vector<Arg> args = {Int(-5),           RealRef(REAL_LARGEST),
                                 TextRef("abc", 6), ByRef(Texts({"", "four", "x"})),
                                 ByRef(Ints({})),   Reals({REAL_LARGEST, REAL_ZERO})};
  constexpr size_t SIZE = 40 + 24 * 7 + 12 + 4 + 12 + 12 + 24 + 4 + 24;  // header, descriptors, elements
  std::vector<std::byte> memory(SIZE);
  Block block(memory, 0xffffff00);  // addresses come around to 0
  PlaceCall(block, "v_Get", args);
  EXPECT_EQ(block.LoadText(40 + 24 * 7, 5), "v_Get");
  const Result result = ReadBack(block);
  ASSERT_EQ(result.args.size(), args.size());
  for (size_t i = 0; i < args.size(); ++i) {
    const auto& [values, by_ref, capacity] = result.args[i];
    EXPECT_TRUE(values == args[i].values && by_ref == args[i].by_ref && capacity == args[i].capacity) << i;
  }
  Block smaller({memory.data(), SIZE - 1}, 0);
  EXPECT_THROW(PlaceCall(smaller, "v_Get", args), std::length_error);
}

TEST(HostBlock, KeepsToItsMemory) {
  std::vector<std::byte> memory(64);
  Block block(memory, 0);
  block.Store(60, int32_t{-7});
  EXPECT_EQ(block.LoadText(60, 100), "") << "a negative length";
  block.Store(60, int32_t{5});
  const std::function<void()> outside[] = {
      [&] { block.Store(61, int32_t{1}); },  [&] { block.Load<int32_t>(SIZE_MAX - 1); },
      [&] { block.StoreDescriptor(1, {}); }, [&] { block.StoreText(56, "12345"); },
      [&] { block.LoadText(60, 100); },      [&] { block.Store(0, block.MakeHeader(2)), ReadBack(block); }};
  for (size_t i = 0; i < std::size(outside); ++i) EXPECT_THROW(outside[i](), std::out_of_range) << i;
}

}  // namespace
}  // namespace vorlix::host
