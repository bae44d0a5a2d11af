// The call frame over a function table of its own: every declared type, refusals, hostile descriptors, write-back,
// trace.
#include "hostif/dllif.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "host/block.h"
#include "host/call.h"
#include "hostif/dllifutil.h"

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
  CallFrame() : memory_(4096), block_({memory_.data(), memory_.size()}, 0xfffff800) {
    DllSetBlock(memory_.data(), memory_.size());
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

  std::vector<std::byte> memory_;
  host::Block block_;
};

// clang-format off
TEST_F(CallFrame, AnswersWithItsCodeAndTracesEachStepAtItsLevel) {
  const std::vector<Arg> fifty(50, host::Int(1)), fifty_one(51, host::Int(1));
  const std::vector<Arg> pair = {host::Text("in"), host::TextRef("ab", 9)};
  const Body fill = [](const ArgVector& args) { return DllStrFromC("xyz", *static_cast<DllString*>(args[1])); };
  const std::string calling = "\ncalling f_zs, argc = 2\n", values = " z = \"in\"\n s = \"ab\"\n";
  const std::string result = "return code is 0\n", after = " s = \"xyz\"\n";
  const std::string checks =
      "\nfunction name = \"f_zs\", argc = 2\n arg = z, zString, CALL = STRING, elcnt = 1 (ByValue)\n"
      " arg = s, String, CALL = STRING, elcnt = 1 (ByRef)\n";
  const struct { const char* name; std::vector<Arg> args; int32_t code, level = 0; std::string trace = ""; } rows[] = {
      {"none", {}, 0}, {"None", {}, 7}, {"non", {}, 7}, {"nonee", {}, 7}, {"", {}, 7}, {"f_i", {}, 9},
      {"f_i", {host::Int(1)}, 0}, {"f_i", {host::Real("1.5")}, 0}, {"f_i", {host::Text("1")}, 8},
      {"f_ir", {host::Real("1")}, 8}, {"f_ia", {host::Int(1)}, 17},
      {"f_ia", {host::Text("x")}, 17},  // the element count comes before the class
      {"f_r", {host::Int(1)}, 0}, {"f_rr", {host::Int(1)}, 8}, {"f_ra", {host::Reals({REAL_ZERO, REAL_ZERO})}, 0},
      {"f_z", {host::Int(1)}, 8}, {"f_s", {host::Text("x")}, 0}, {"f_sa", {host::Texts({"a", "bcd"})}, 0},
      {"f_v", {}, 0}, {"f_v", fifty, 0}, {"f_v", fifty_one, 606}, {"none", fifty_one, 606},
      {"f_zsv", {host::Text("x"), host::Text("y")}, 9},  // what is missing is no VarArg
      {"f_zs", pair, 0}, {"f_zs", pair, 0, 1, calling + result}, {"f_zs", pair, 0, -3, calling + result},
      {"f_zs", pair, 0, 2, calling + values + result + after},
      {"f_zs", pair, 0, 3, checks + calling + values + result + after},
      {"NONE", {}, 7, 3, "undefined function name: \"NONE\"\n"}, {"NONE", {}, 7, 2},
      {"none", {host::Int(1)}, 9, 3, "\nfunction name = \"none\", argc = 1\nextra argument detected\n"},
      {"f_zs", {host::Text("x")}, 9, 2, "f_zs: wrong numer of arguments\n"}, {"f_zs", {host::Text("x")}, 9, 1},
      {"f_ia", {host::Ints({1, -2})}, 0, 2,
       "\ncalling f_ia, argc = 1\n ia = array [2]\n  [ 0] 1\n  [ 1] -2\n" + result},
      {"f_v", {host::ByRef(host::Texts({"a", "b"}))}, 0, 2,
       "\ncalling f_v, argc = 1\n v = array [2]\n  [ 0] \"a\"\n  [ 1] \"b\"\n" + result +
       " v = array [2]\n  [ 0] \"a\"\n  [ 1] \"b\"\n"},
      {"f_v", {host::Int(5)}, 0, 2, "\ncalling f_v, argc = 1\n v = 5\n" + result},
      {"f_r", {host::Real("1.5")}, 0, 2, "\ncalling f_r, argc = 1\n r = 1.5\n" + result},
      {"f_bad", {host::Int(1)}, -1, 3,
       "\nfunction name = \"f_bad\", argc = 1\n arg = bad, Unknown, CALL = INTEGER, elcnt = 1 (ByValue)\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.name << " with " << row.args.size() << " arguments at level " << row.level);
    SetCallTraceLevel(row.level);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Place(row.name, row.args, row.args.size() == pair.size() ? fill : Body()), row.code);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.trace);
    EXPECT_EQ(dispatched >= 0, row.code == 0);
  }
}

TEST_F(CallFrame, AnswersMalformedHeadersWithTheirCodes) {
  const std::string no_name = "illegal argument count, function name is required\n";
  const std::string other_class = "first argument must be function name\n";
  const std::string called = "\nfunction name = \"none\", argc = 0\n\ncalling none, argc = 0\nreturn code is 0\n";
  const struct { int32_t count, name_class; uint32_t offset; int32_t length, code; std::string trace = ""; } rows[] = {
      {1, HOST_STRING, 1000, 4, 0, called},
      {0, HOST_STRING, 1000, 4, 9, no_name},
      {-1, HOST_STRING, 1000, 4, 9, no_name},
      {52, HOST_STRING, 1000, 4, 606, "argument count exceeds maximum (50)\n"},
      {1, HOST_REAL, 1000, 4, 8, other_class},
      {1, 0, 1000, 4, 8, other_class},
      {1, HOST_STRING, 4088, 4, 0, called},
      {1, HOST_STRING, 4089, 4, 204}, {1, HOST_STRING, 4096, 4, 204}, {1, HOST_STRING, 0xfffffffc, 4, 204},
      {1, HOST_STRING, 1000, -1, 204}, {1, HOST_STRING, 1000, 3093, 204}, {1, HOST_STRING, 1000, INT32_MAX, 204},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.count << " " << row.name_class << " " << row.offset << " " << row.length);
    block_.Store(0, block_.MakeHeader(row.count));
    block_.StoreDescriptor(0, {row.name_class, 0, block_.AddressOf(row.offset), 0, 0, 1});
    if (row.offset <= 4088) block_.StoreText(row.offset, "none");
    if (row.offset <= 4092) block_.Store(row.offset, row.length);
    SetCallTraceLevel(3);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run(), row.code);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.trace);
  }
}

TEST_F(CallFrame, RefusesWhatLeavesTheSegment) {
  constexpr uint32_t END = 4096;
  constexpr int32_t INT = HOST_INTEGER, REAL = HOST_REAL, STRING = HOST_STRING;
  // The address of a descriptor is an offset here; the length is stored there when it lies inside.
  const struct { const char* name; ArgDescriptor desc; int32_t code, length = 0; } rows[] = {
      {"f_ir", {INT, 1, END - 4, 0, 0, 1}, 0}, {"f_ir", {INT, 1, END - 3, 0, 0, 1}, 204},
      {"f_ir", {INT, 1, 0xffffffff, 0, 0, 1}, 204},
      {"f_ir", {INT, 1, 2001, 0, 0, 1}, 0},  // no alignment is asked for
      {"f_i", {INT, 0, 2000, 0, 1, 524}, 0}, {"f_i", {INT, 0, 2000, 0, 1, 525}, 204},
      {"f_i", {INT, 0, 2000, 0, INT32_MAX, INT32_MAX}, 204},
      {"f_i", {INT, 0, 2000, 0, 0x40000000, 5}, 204},  // 4 * stride * 4 is 2^34
      {"f_i", {INT, 0, 2000, 0, -1, 2}, 204}, {"f_i", {INT, 0, 2000, 0, 0, 2}, 204},
      {"f_i", {INT, 0, 2000, 0, -1, 0}, 0}, {"f_i", {INT, 0, 2000, 0, -1, -7}, 0},  // below one element is one element
      {"f_r", {REAL, 0, END - 12, 0, 0, 1}, 0}, {"f_r", {REAL, 0, END - 11, 0, 0, 1}, 204},
      {"f_r", {REAL, 0, 2000, 0, 2, 2}, 204},
      {"f_z", {STRING, 0, 2000, 0, 0, 1}, 0, 2092},  // a zString ends with its length, whatever the capacity
      {"f_z", {STRING, 0, 2000, 0, 0, 1}, 204, 2093}, {"f_z", {STRING, 0, 2000, 0, 0, 1}, 204, -1},
      {"f_s", {STRING, 1, 2000, 10, 0, 1}, 0, 10}, {"f_s", {STRING, 1, 2000, 10, 0, 1}, 0, 2092},
      {"f_s", {STRING, 1, 2000, INT32_MAX, 0, 1}, 0, 2092}, {"f_s", {STRING, 1, 2000, INT32_MAX, 0, 1}, 204, 2093},
      {"f_s", {STRING, 1, 2000, -5, 0, 1}, 0, 1}, {"f_s", {STRING, 1, 2000, 10, 0, 1}, 204, 2093},
      {"f_s", {STRING, 1, END - 2, 10, 0, 1}, 204}, {"f_sa", {STRING, 1, 2000, 8, 3, 2}, 0, 8},
      {"f_sa", {STRING, 1, 2000, 8, 2, 2}, 0, 5},
  };
  for (const auto& row : rows) {
    ArgDescriptor desc = row.desc;
    SCOPED_TRACE(testing::Message() << row.name << " offset " << desc.address << " capacity " << desc.capacity
                                    << " stride " << desc.stride << " count " << desc.count << " length "
                                    << row.length);
    std::fill(memory_.begin(), memory_.end(), std::byte{0});
    host::PlaceCall(block_, row.name, {host::Int(0)});
    desc.address = block_.AddressOf(desc.address);
    block_.StoreDescriptor(1, desc);
    if (desc.host_class == STRING && row.desc.address <= END - 4) block_.Store(row.desc.address, row.length);
    EXPECT_EQ(Run(), row.code);
    EXPECT_EQ(dispatched >= 0, row.code == 0);
  }
}
// clang-format on

TEST_F(CallFrame, WritesBackEveryElement) {
  const HostReal three = host::Real("3").RealAt();
  Place("f_ra", {host::ByRef(host::Reals({three, three, three}))}, [](const ArgVector& args) {
    static_cast<double*>(args[0])[1] /= 2;
    return 19;  // a function that failed has its results written back all the same
  });
  EXPECT_EQ(host::ReadBack(block_).args[0].values, host::Reals({three, host::Real("1.5").RealAt(), three}).values);
  EXPECT_TRUE(host::ReadBack(block_).args[0].by_ref);

  Place("f_sa", {host::ByRef(host::Texts({"abc", "defgh"}))}, [](const ArgVector& args) {
    auto* const strings = static_cast<DllString*>(args[0]);
    return DllStrFromC("a longer text", strings[0]) + DllStrFromC("xyz", strings[1]);
  });
  EXPECT_EQ(host::ReadBack(block_).args[0].values, host::Texts({"abc", "xyz"}).values);

  Place("f_i", {host::ByRef(host::Int(1))});
  EXPECT_FALSE(host::ReadBack(block_).args[0].by_ref) << "nothing goes back into a value";
}

// What the host writes while the function runs: the call goes by what it has read and checked.
TEST_F(CallFrame, GoesByWhatItHasReadWhenTheBlockChangesMeanwhile) {
  constexpr size_t STRING = 1000, REAL = 2000;
  const auto place = [this] {
    std::fill(memory_.begin(), memory_.end(), std::byte{0});
    host::PlaceCall(block_, "f_s", {host::Int(0)});
  };
  const ArgDescriptor nonsense = {77, 0, 0x12345678, INT32_MAX, INT32_MAX, INT32_MAX};
  place();
  block_.StoreDescriptor(1, {HOST_STRING, 1, block_.AddressOf(STRING), 5, 0, 1});
  block_.StoreText(STRING, "ab");
  const Body rewrite = [&](const ArgVector& args) {
    auto& text = *static_cast<DllString*>(args[0]);
    block_.StoreDescriptor(1, nonsense);
    block_.Store(STRING, INT32_MAX);
    block_.Store(offsetof(BlockHeader, arg_count), int32_t{50});
    EXPECT_EQ(text.View(), "ab");
    EXPECT_EQ(DllStrFromC("abcdef", text), RESULT_TOO_SHORT);
    return DllStrFromC("vwxyz", text);
  };
  EXPECT_EQ(Run(rewrite), 0);
  EXPECT_EQ(block_.LoadText(STRING, 99), "vwxyz");
  EXPECT_TRUE(
      std::ranges::all_of(memory_.begin() + STRING + 9, memory_.end(), [](auto b) { return b == std::byte{}; }));

  place();
  host::PlaceCall(block_, "f_rr", {host::RealRef()});
  block_.StoreDescriptor(1, {HOST_REAL, 1, block_.AddressOf(REAL), 0, 0, 1});
  block_.Store(REAL, REAL_LARGEST);
  const Body set = [&](const ArgVector& args) {
    block_.StoreDescriptor(1, nonsense);
    block_.Store(REAL, HostReal{0, REAL_INVALID, 9, {}});
    *static_cast<double*>(args[0]) = 0.5;
    return 3;
  };
  EXPECT_EQ(Run(set), 3);
  EXPECT_EQ(block_.Load<HostReal>(REAL), (HostReal{0, REAL_POSITIVE, 1, {50}}));
  EXPECT_EQ(block_.LoadDescriptor(1).capacity, INT32_MAX) << "the descriptor is the host's";
}

}  // namespace
}  // namespace vorlix
