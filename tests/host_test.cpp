// The client library as far as it needs no server: decimal texts, XBUFs, the layout of blocks.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/block.h"
#include "host/call.h"
#include "host/decimal.h"
#include "host/failure.h"
#include "host/xbuf.h"

namespace vorlix::host {
namespace {

TEST(HostDecimal, ReadsExactlyAndWritesShortest) {
  struct Row {
    const char* text;
    HostReal real;
    const char* written;
  };
  const Row rows[] = {
      {"0", {0, 1, 0, {}}, "0"},
      {"-0.000e99999999999999999999", {0, 1, 0, {}}, "0"},
      {"1", {1, 1, 1, {1}}, "1"},
      {"-12.50", {1, 0, 2, {12, 50}}, "-12.5"},
      {"+.5", {0, 1, 1, {50}}, "0.5"},
      {"0100.", {2, 1, 1, {1}}, "100"},
      {"1e3", {2, 1, 1, {10}}, "1000"},
      {"123.456", {2, 1, 4, {1, 23, 45, 60}}, "123.456"},
      {"2147483647", {5, 1, 5, {21, 47, 48, 36, 47}}, "2147483647"},
      {"0.1234567890125", {0, 1, 7, {12, 34, 56, 78, 90, 12, 50}}, "0.1234567890125"},
      {"1234567890123456", {8, 1, 8, {12, 34, 56, 78, 90, 12, 34, 56}}, "1234567890123456"},
      {"123456789012345.00", {8, 1, 8, {1, 23, 45, 67, 89, 1, 23, 45}}, "123456789012345"},
      {"0.000001", {-2, 1, 1, {1}}, "0.000001"},
      {"0.00000015E0", {-3, 1, 1, {15}}, "1.5E-7"},
      {"1e20", {11, 1, 1, {1}}, "100000000000000000000"},
      {"-1.25e21", {11, 0, 2, {12, 50}}, "-1.25E+21"},
      {"1e-130", {-64, 1, 1, {1}}, "1E-130"},
      {"9.9e125", {63, 1, 1, {99}}, "9.9E+125"},
  };
  for (const Row& row : rows) {
    HostReal real{};
    ASSERT_EQ(ParseDecimal(row.text, real), DecimalFault::None) << row.text;
    EXPECT_EQ(real, row.real) << row.text;
    EXPECT_EQ(FormatDecimal(real), row.written) << row.text;
    HostReal again{};
    ASSERT_EQ(ParseDecimal(row.written, again), DecimalFault::None) << row.written;
    EXPECT_EQ(again, row.real) << row.written;
  }
}

TEST(HostDecimal, RefusesWhatIsNotExactlyAHostReal) {
  struct Row {
    const char* text;
    DecimalFault fault;
  };
  const Row rows[] = {
      {"", DecimalFault::NotANumber},       {".", DecimalFault::NotANumber},
      {"-", DecimalFault::NotANumber},      {"e5", DecimalFault::NotANumber},
      {"1e", DecimalFault::NotANumber},     {"1e+", DecimalFault::NotANumber},
      {" 1", DecimalFault::NotANumber},     {"1 ", DecimalFault::NotANumber},
      {"1,5", DecimalFault::NotANumber},    {"--1", DecimalFault::NotANumber},
      {"0x10", DecimalFault::NotANumber},   {"1.2.3", DecimalFault::NotANumber},
      {"nan", DecimalFault::NotANumber},    {"1234567890123456.7", DecimalFault::TooManyDigits},
      {"1e126", DecimalFault::OutOfRange},  {"1234567890.1234567", DecimalFault::TooManyDigits},
      {"1e-131", DecimalFault::OutOfRange}, {"1e99999999999999999999", DecimalFault::OutOfRange},
  };
  for (const Row& row : rows) {
    HostReal real = REAL_LARGEST;
    EXPECT_EQ(ParseDecimal(row.text, real), row.fault) << row.text;
    EXPECT_EQ(real, REAL_LARGEST) << row.text;
  }
  EXPECT_THROW(Real("ten"), std::invalid_argument);
}

TEST(HostDecimal, WritesAnyBytes) {
  EXPECT_EQ(FormatDecimal({0, REAL_INVALID, 1, {1}}), "invalid");
  EXPECT_EQ(FormatDecimal({2, 0, 3, {0, 5, 0}}), "-5");
  EXPECT_EQ(FormatDecimal({1, 1, 200, {1, 200, 0, 0, 0, 0, 0, 0}}), "1.99");
}

TEST(HostXbuf, ReadsAndWrites) {
  struct Row {
    std::string xbuf;
    std::vector<XbufItem> items;
    bool same;  // written back it is the same
  };
  const std::string odd("a~$\0\xff", 5);
  const std::string longest = "X" + std::string(79, 'n') + "~0~0~$";
  const Row rows[] = {
      {"$", {}, true},
      {"Xdict_fld~0~4~nameNdict_len~0~2~30$", {{'X', "dict_fld", 0, "name"}, {'N', "dict_len", 0, "30"}}, true},
      {"Xa~12~5~" + odd + "$", {{'X', "a", 12, odd}}, true},
      {"xDict_Fld~~3~abcnB2~0~~$behind", {{'X', "dict_fld", 0, "abc"}, {'N', "b2", 0, ""}}, false},
      {longest, {{'X', std::string(79, 'n'), 0, ""}}, true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ReadXbuf(row.xbuf), row.items) << row.xbuf;
    EXPECT_EQ(WriteXbuf(row.items) == row.xbuf, row.same) << row.xbuf;
  }
}

TEST(HostXbuf, RefusesTheMalformed) {
  struct Row {
    std::string xbuf;
    const char* message;
  };
  const Row rows[] = {
      {"", "XBUF: no $ at offset 0"},
      {"Xa~0~1~b", "XBUF: no $ at offset 8"},
      {"Ya~0~0~$", "XBUF: bad type letter at offset 0"},
      {"X9abc~0~0~$", "XBUF: bad name at offset 1"},
      {"Xa-b~0~0~$", "XBUF: bad name at offset 1"},
      {"X~0~0~$", "XBUF: bad name at offset 1"},
      {"X" + std::string(80, 'n') + "~0~0~$", "XBUF: bad name at offset 1"},
      {"Xabc", "XBUF: unfinished name at offset 1"},
      {"Xa~-1~0~$", "XBUF: bad element index at offset 3"},
      {"Xa~0", "XBUF: unfinished element index at offset 3"},
      {"Xa~0~9x~$", "XBUF: bad length at offset 5"},
      {"Xa~0~4294967296~$", "XBUF: bad length at offset 5"},
      {"Xa~0~3~ab", "XBUF: value cut off at offset 7"},
  };
  for (const Row& row : rows) {
    try {
      ReadXbuf(row.xbuf);
      ADD_FAILURE() << "accepted " << row.xbuf;
    } catch (const std::invalid_argument& fault) {
      EXPECT_STREQ(fault.what(), row.message) << row.xbuf;
    }
  }
  EXPECT_THROW(WriteXbuf({{'Y', "a", 0, ""}}), std::invalid_argument);
  EXPECT_THROW(WriteXbuf({{'X', "a~b", 0, ""}}), std::invalid_argument);
}

TEST(HostBlock, LaysACallOutAndReadsItBack) {
  const std::vector<Arg> args = {Int(-5), RealRef(REAL_LARGEST), TextRef("abc", 6), ByRef(Texts({"", "four", "x"})),
                                 ByRef(Ints({}))};
  for (const uint32_t base : {0u, 0x1000u, 0x7fffffffu, 0x80000000u, 0xffffffc0u}) {
    std::vector<std::byte> memory(400);
    Block block(memory, base);
    PlaceCall(block, "v_Get", args);

    const auto header = block.Load<BlockHeader>(0);
    EXPECT_EQ(header.magic, DLL_MAGIC);
    EXPECT_EQ(header.version, 257);
    EXPECT_EQ(header.host_base, base);
    EXPECT_EQ(header.arg_count, 6);
    EXPECT_EQ(block.LoadText(40 + 6 * 24, 5), "v_Get");
    struct Row {
      int32_t host_class, by_ref;
      uint32_t offset;  // the name takes 184 to 196
      int32_t capacity, stride, count;
    };
    const Row rows[] = {{HOST_INTEGER, 0, 196, 0, 1, 1},
                        {HOST_REAL, 1, 200, 0, 3, 1},
                        {HOST_STRING, 1, 212, 6, 3, 1},
                        {HOST_STRING, 1, 224, 4, 2, 3},
                        {HOST_INTEGER, 1, 248, 0, 1, 0}};
    for (size_t i = 0; i < std::size(rows); ++i) {
      const ArgDescriptor desc = block.LoadDescriptor(i + 1);
      EXPECT_EQ(desc.host_class, rows[i].host_class) << i;
      EXPECT_EQ(desc.by_ref, rows[i].by_ref) << i;
      EXPECT_EQ(desc.address, base + rows[i].offset) << i;
      EXPECT_EQ(desc.capacity, rows[i].capacity) << i;
      EXPECT_EQ(desc.stride, rows[i].stride) << i;
      EXPECT_EQ(desc.count, rows[i].count) << i;
    }
    const Result result = ReadBack(block);
    EXPECT_EQ(result.code, NO_RESULT);
    ASSERT_EQ(result.args.size(), args.size());
    for (size_t i = 0; i < args.size(); ++i) EXPECT_EQ(result.args[i].values, args[i].values) << i;
  }
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
  EXPECT_THROW(PlaceCall(block, "dll_Revision", {}), std::length_error);
}

TEST(HostFailure, SaysHowTheServerEnded) {
  EXPECT_STREQ(ServerError({2, 0}, "Illegal DLL_MAGIC\n").what(),
               "the server has ended: exit status 2; it wrote: Illegal DLL_MAGIC");
  EXPECT_STREQ(ServerError({-1, 9}, "").what(), "the server has ended: signal 9 (Killed)");
  EXPECT_STREQ(ServerError(Ending{}, "\n").what(), "the server has ended: unknown status");
  EXPECT_EQ(std::string(ServerError({0, 0}, std::string(5000, 'x')).what()).size(), 1050u);
}

}  // namespace
}  // namespace vorlix::host
