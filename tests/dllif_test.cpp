// The call frame over a function table of its own: every declared type, refusals, hostile descriptors, write-back,
// trace.
#include "hostif/dllif.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "host/block.h"
#include "host/call.h"
#include "hostif/dllifutil.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

constexpr auto BAD_TYPE = static_cast<DeclaredType>(10);
constexpr std::array SPECS = {ArgSpec{"i", DeclaredType::IntByValue, 0},
                              ArgSpec{"ir", DeclaredType::IntByReference, 0},
                              ArgSpec{"ia", DeclaredType::IntArray, 2},
                              ArgSpec{"r", DeclaredType::RealByValue, 0},
                              ArgSpec{"rr", DeclaredType::RealByReference, 0},
                              ArgSpec{"ra", DeclaredType::RealArray, 0},
                              ArgSpec{"z", DeclaredType::zString, 0},
                              ArgSpec{"s", DeclaredType::String, 0},
                              ArgSpec{"sa", DeclaredType::StringArray, 0},
                              ArgSpec{"v", DeclaredType::VarArg, 0},
                              ArgSpec{"bad", BAD_TYPE, 0}};
constexpr std::array ENTRIES = {
    FunctionEntry{"none", 0, 0, 0}, FunctionEntry{"f_i", 0, 1, 0},  FunctionEntry{"f_ir", 1, 1, 0},
    FunctionEntry{"f_ia", 2, 1, 0}, FunctionEntry{"f_r", 3, 1, 0},  FunctionEntry{"f_rr", 4, 1, 0},
    FunctionEntry{"f_ra", 5, 1, 0}, FunctionEntry{"f_z", 6, 1, 0},  FunctionEntry{"f_s", 7, 1, 0},
    FunctionEntry{"f_sa", 8, 1, 0}, FunctionEntry{"f_v", 9, 1, 0},  FunctionEntry{"f_bad", 10, 1, 0},
    FunctionEntry{"f_zs", 6, 2, 0}, FunctionEntry{"f_zsv", 6, 4, 0}};

using Body = std::function<int32_t(const ArgVector&)>;
Body body;
int dispatched = -1;

}  // namespace

constinit const std::span<const FunctionEntry> FunctionTable = ENTRIES;
constinit const std::span<const ArgSpec> ArgSpecs = SPECS;

int32_t DllDispatch(int32_t index, const ArgVector& args) {
  dispatched = index;
  return body ? body(args) : 0;
}

namespace {

using host::Arg;

class CallFrame : public testing::Test {
 protected:
  CallFrame() : memory_(4096), block_({memory_.data(), memory_.size()}, 0x40000000) {
    DllSetBlock(memory_.data(), memory_.size());
    SetCallTraceLevel(0);
  }
  ~CallFrame() override { SetCallTraceLevel(0); }

  int32_t Place(const std::string& name, const std::vector<Arg>& args, Body run = {}) {
    host::PlaceCall(block_, name, args);
    return Run(std::move(run));
  }
  int32_t Run(Body run = {}) {
    body = std::move(run);
    dispatched = -1;
    return DllCall();
  }
  static const DllString& StringArg(const ArgVector& args, size_t k) { return static_cast<DllString*>(args[0])[k]; }

  std::vector<std::byte> memory_;
  host::Block block_;
};

TEST_F(CallFrame, AnswersRefusalsWithTheirCodes) {
  const std::vector<Arg> fifty(50, host::Int(1));
  const std::vector<Arg> fifty_one(51, host::Int(1));
  const struct {
    const char* name;
    std::vector<Arg> args;
    int32_t code;
  } rows[] = {
      {"none", {}, 0},
      {"none", {host::Int(1)}, 9},
      {"None", {}, 7},
      {"non", {}, 7},
      {"nonee", {}, 7},
      {"", {}, 7},
      {"f_i", {}, 9},
      {"f_i", {host::Int(1)}, 0},
      {"f_i", {host::Real("1.5")}, 0},
      {"f_i", {host::Text("1")}, 8},
      {"f_ir", {host::Real("1")}, 8},
      {"f_ia", {host::Int(1)}, 17},
      {"f_ia", {host::Text("x")}, 17},  // the element count comes before the class
      {"f_ia", {host::Ints({1, 2})}, 0},
      {"f_r", {host::Int(1)}, 0},
      {"f_rr", {host::Int(1)}, 8},
      {"f_ra", {host::Reals({REAL_ZERO, REAL_ZERO})}, 0},
      {"f_z", {host::Int(1)}, 8},
      {"f_s", {host::Text("x")}, 0},
      {"f_sa", {host::Texts({"a", "bcd"})}, 0},
      {"f_bad", {host::Int(1)}, -1},
      {"f_v", {}, 0},
      {"f_v", fifty, 0},
      {"f_v", fifty_one, 606},
      {"none", fifty_one, 606},
      {"f_zs", {host::Text("x")}, 9},
      {"f_zsv", {host::Text("x"), host::Text("y")}, 9},  // what is missing is no VarArg
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.name) + " with " + std::to_string(row.args.size()) + " arguments");
    EXPECT_EQ(Place(row.name, row.args), row.code);
    EXPECT_EQ(dispatched >= 0, row.code == 0);
  }
}

TEST_F(CallFrame, AnswersMalformedHeadersWithTheirCodes) {
  const std::string no_name = "illegal argument count, function name is required\n";
  const std::string other_class = "first argument must be function name\n";
  const std::string called = "\nfunction name = \"none\", argc = 0\n\ncalling none, argc = 0\nreturn code is 0\n";
  const struct {
    int32_t count;
    int32_t name_class;
    uint32_t name_offset;
    int32_t name_length;
    int32_t code;
    std::string trace;
  } rows[] = {
      {1, HOST_STRING, 1000, 4, 0, called},
      {0, HOST_STRING, 1000, 4, 9, no_name},
      {-1, HOST_STRING, 1000, 4, 9, no_name},
      {52, HOST_STRING, 1000, 4, 606, "argument count exceeds maximum (50)\n"},
      {1, HOST_REAL, 1000, 4, 8, other_class},
      {1, 0, 1000, 4, 8, other_class},
      {1, HOST_STRING, 4096, 4, 204, ""},
      {1, HOST_STRING, 4089, 4, 204, ""},
      {1, HOST_STRING, 4088, 4, 0, called},
      {1, HOST_STRING, 1000, -1, 204, ""},
      {1, HOST_STRING, 1000, 3093, 204, ""},
      {1, HOST_STRING, 1000, INT32_MAX, 204, ""},
      {1, HOST_STRING, 0xfffffffc, 4, 204, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.count << " " << row.name_class << " " << row.name_offset << " "
                                    << row.name_length);
    block_.Store(0, block_.MakeHeader(row.count));
    block_.StoreDescriptor(0, {row.name_class, 0, block_.AddressOf(row.name_offset), 0, 0, 1});
    if (row.name_offset <= 4088) block_.StoreText(row.name_offset, "none");
    if (row.name_offset <= 4092) block_.Store(row.name_offset, row.name_length);
    SetCallTraceLevel(3);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run(), row.code);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.trace);
  }
}

TEST_F(CallFrame, RefusesWhatLeavesTheSegment) {
  constexpr uint32_t END = 4096;
  const struct {
    const char* name;
    ArgDescriptor desc;  // its address is an offset
    int32_t length;      // stored at the address when it lies inside
    int32_t code;
  } rows[] = {
      {"f_ir", {HOST_INTEGER, 1, END - 4, 0, 0, 1}, 0, 0},
      {"f_ir", {HOST_INTEGER, 1, END - 3, 0, 0, 1}, 0, 204},
      {"f_ir", {HOST_INTEGER, 1, 0xffffffff, 0, 0, 1}, 0, 204},
      {"f_ir", {HOST_INTEGER, 1, 2001, 0, 0, 1}, 0, 0},  // no alignment is asked for
      {"f_i", {HOST_INTEGER, 0, 2000, 0, 1, 524}, 0, 0},
      {"f_i", {HOST_INTEGER, 0, 2000, 0, 1, 525}, 0, 204},
      {"f_i", {HOST_INTEGER, 0, 2000, 0, INT32_MAX, INT32_MAX}, 0, 204},
      {"f_i", {HOST_INTEGER, 0, 2000, 0, 0x40000000, 5}, 0, 204},  // 4 * stride * 4 is 2^34
      {"f_i", {HOST_INTEGER, 0, 2000, 0, -1, 2}, 0, 204},
      {"f_i", {HOST_INTEGER, 0, 2000, 0, 0, 2}, 0, 204},
      {"f_i", {HOST_INTEGER, 0, 2000, 0, -1, 0}, 0, 0},  // below one element is one element
      {"f_i", {HOST_INTEGER, 0, 2000, 0, -1, -7}, 0, 0},
      {"f_r", {HOST_REAL, 0, END - 12, 0, 0, 1}, 0, 0},
      {"f_r", {HOST_REAL, 0, END - 11, 0, 0, 1}, 0, 204},
      {"f_r", {HOST_REAL, 0, 2000, 0, 2, 2}, 0, 204},
      {"f_z", {HOST_STRING, 0, 2000, 0, 0, 1}, 2092, 0},  // a zString ends with its length, whatever the capacity
      {"f_z", {HOST_STRING, 0, 2000, 0, 0, 1}, 2093, 204},
      {"f_z", {HOST_STRING, 0, 2000, 0, 0, 1}, -1, 204},
      {"f_s", {HOST_STRING, 1, 2000, 10, 0, 1}, 10, 0},
      {"f_s", {HOST_STRING, 1, 2000, 10, 0, 1}, 11, 204},
      {"f_s", {HOST_STRING, 1, 2000, INT32_MAX, 0, 1}, 2092, 0},
      {"f_s", {HOST_STRING, 1, 2000, INT32_MAX, 0, 1}, 2093, 204},
      {"f_s", {HOST_STRING, 1, 2000, -5, 0, 1}, 0, 0},
      {"f_s", {HOST_STRING, 1, 2000, -5, 0, 1}, 1, 204},
      {"f_s", {HOST_STRING, 1, END - 2, 10, 0, 1}, 0, 204},
      {"f_sa", {HOST_STRING, 1, 2000, 8, 3, 2}, 8, 0},
      {"f_sa", {HOST_STRING, 1, 2000, 8, 2, 2}, 5, 204},  // the next element begins in the fifth character
  };
  for (const uint32_t base : {0U, 0x40000000U, 0x7fffffffU, 0x80000000U, 0xfffff800U}) {
    const host::Block block({memory_.data(), memory_.size()}, base);
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << row.name << " base " << base << " offset " << row.desc.address << " capacity "
                                      << row.desc.capacity << " stride " << row.desc.stride << " count "
                                      << row.desc.count << " length " << row.length);
      std::fill(memory_.begin(), memory_.end(), std::byte{0});
      auto writable = block;
      host::PlaceCall(writable, row.name, {});
      writable.Store(0, writable.MakeHeader(2));
      writable.StoreText(200, row.name);
      writable.StoreDescriptor(0, {HOST_STRING, 0, writable.AddressOf(200), 0, 0, 1});
      ArgDescriptor desc = row.desc;
      desc.address = writable.AddressOf(row.desc.address);
      writable.StoreDescriptor(1, desc);
      if (row.desc.host_class == HOST_STRING && row.desc.address <= END - 4)
        writable.Store(row.desc.address, row.length);
      EXPECT_EQ(Run(), row.code);
      EXPECT_EQ(dispatched >= 0, row.code == 0);
    }
  }
}

TEST_F(CallFrame, PresentsAndWritesBack) {
  EXPECT_EQ(Place("f_i", {host::ByRef(host::Real("30000000000"))},
                  [](const ArgVector& args) { return *static_cast<int32_t*>(args[0]) == INT32_MAX ? 5 : 6; }),
            5);
  EXPECT_FALSE(host::ReadBack(block_).args[0].by_ref);

  Place("f_ir", {host::IntRef(4)}, [](const ArgVector& args) {
    IntByReference value(args[0]);
    value = value.Get() + 1;
    return 19;  // a function that failed has its results written back all the same
  });
  EXPECT_EQ(host::ReadBack(block_).args[0].IntAt(), 5);
  EXPECT_TRUE(host::ReadBack(block_).args[0].by_ref);

  const auto halve = [](const ArgVector& args) {
    auto* reals = static_cast<double*>(args[0]);
    reals[0] /= 2;
    return 0;
  };
  Place("f_ra", {host::ByRef(host::Reals({host::Real("3").RealAt(), host::Real("5").RealAt()}))}, halve);
  EXPECT_EQ(host::ReadBack(block_).args[0].RealAt(0), host::Real("1.5").RealAt());
  Place("f_rr", {host::Real("3")}, halve);  // by value: nothing goes back
  EXPECT_EQ(host::ReadBack(block_).args[0].RealAt(), host::Real("3").RealAt());

  const auto fill = [](const ArgVector& args) {
    auto* strings = static_cast<DllString*>(args[0]);
    return DllStrFromC("a longer text", strings[0]) + DllStrFromC("xyz", strings[1]);
  };
  EXPECT_EQ(Place("f_sa", {host::ByRef(host::Texts({"abc", "defgh"}))}, fill), RESULT_TOO_SHORT);
  EXPECT_EQ(host::ReadBack(block_).args[0].TextAt(0), "abc");
  EXPECT_EQ(host::ReadBack(block_).args[0].TextAt(1), "xyz");

  Place("f_z", {host::Text(std::string_view("ab\0cd", 5))}, [](const ArgVector& args) {
    EXPECT_STREQ(static_cast<const char*>(args[0]), "ab");
    return 0;
  });
}

TEST_F(CallFrame, MissingMemoryRefusesTheCallAlone) {
  const struct {
    const char* name;
    std::vector<Arg> args;
  } rows[] = {{"f_i", {host::ByRef(host::Real("1"))}},
              {"f_r", {host::ByRef(host::Int(1))}},
              {"f_r", {host::ByRef(host::Real("1"))}},
              {"f_zs", {host::ByRef(host::Text("x")), host::TextRef("y", 9)}},
              {"f_zs", {host::ByRef(host::Text("x")), host::Texts({"y", "z"})}}};
  for (const auto& row : rows) {
    host::PlaceCall(block_, row.name, row.args);
    const std::vector<std::byte> before = memory_;
    bool failed = true;
    for (int nth = 0; failed; ++nth) {
      int32_t code = 0;
      {
        const test::FailAllocation fail(nth);
        code = Run();
        failed = fail.Hit();
      }
      EXPECT_TRUE(failed || nth == static_cast<int>(row.args.size())) << row.name;
      EXPECT_EQ(code, failed ? RESULT_NO_MEMORY : 0) << row.name << " without allocation " << nth;
      EXPECT_EQ(dispatched >= 0, !failed) << row.name << " without allocation " << nth;
      EXPECT_EQ(memory_ == before, failed) << row.name << " without allocation " << nth;  // flags are cleared
    }
  }
}

TEST_F(CallFrame, TracesEachStepAtItsLevel) {
  const std::vector<Arg> args = {host::Text("in"), host::TextRef("ab", 9)};
  const auto fill = [](const ArgVector& vector) { return DllStrFromC("xyz", *static_cast<DllString*>(vector[1])); };
  const std::string calling = "\ncalling f_zs, argc = 2\n";
  const std::string values = " z = \"in\"\n s = \"ab\"\n";
  const std::string result = "return code is 0\n";
  const std::string after = " s = \"xyz\"\n";
  const std::string checks =
      "\nfunction name = \"f_zs\", argc = 2\n arg = z, zString, CALL = STRING, elcnt = 1 (ByValue)\n"
      " arg = s, String, CALL = STRING, elcnt = 1 (ByRef)\n";
  const struct {
    int32_t level;
    std::string text;
  } rows[] = {{0, ""},
              {1, calling + result},
              {-3, calling + result},
              {2, calling + values + result + after},
              {3, checks + calling + values + result + after}};
  for (const auto& row : rows) {
    SetCallTraceLevel(row.level);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Place("f_zs", args, fill), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.text) << "level " << row.level;
  }
}

TEST_F(CallFrame, TracesRefusalsAndArrays) {
  const struct {
    int32_t level;
    const char* name;
    std::vector<Arg> args;
    std::string text;
  } rows[] = {
      {3, "NONE", {}, "undefined function name: \"NONE\"\n"},
      {2, "NONE", {}, ""},
      {3, "none", {host::Int(1)}, "\nfunction name = \"none\", argc = 1\nextra argument detected\n"},
      {2, "f_zs", {host::Text("x")}, "f_zs: wrong numer of arguments\n"},
      {1, "f_zs", {host::Text("x")}, ""},
      {2,
       "f_ia",
       {host::Ints({1, -2})},
       "\ncalling f_ia, argc = 1\n ia = array [2]\n  [ 0] 1\n  [ 1] -2\nreturn code is 0\n"},
      {2,
       "f_v",
       {host::ByRef(host::Texts({"a", "b"}))},
       "\ncalling f_v, argc = 1\n v = array [2]\n  [ 0] \"a\"\n  [ 1] \"b\"\nreturn code is 0\n"
       " v = array [2]\n  [ 0] \"a\"\n  [ 1] \"b\"\n"},
      {2, "f_r", {host::Real("1.5")}, "\ncalling f_r, argc = 1\n r = 1.5\nreturn code is 0\n"},
      {3,
       "f_bad",
       {host::Int(1)},
       "\nfunction name = \"f_bad\", argc = 1\n arg = bad, Unknown, CALL = INTEGER, elcnt = 1 (ByValue)\n"},
  };
  for (const auto& row : rows) {
    SetCallTraceLevel(row.level);
    testing::internal::CaptureStderr();
    Place(row.name, row.args);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.text) << row.name << " at level " << row.level;
  }
}

}  // namespace
}  // namespace vorlix
