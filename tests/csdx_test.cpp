#include "dll/shared/csdx.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

using Lines = std::vector<std::string>;

TEST(CsdxBuffer, StaysBelowItsLimit) {
  const TraceCapture trace("D1");
  EXPECT_TRUE(CSDX_PackString(std::string(999'989, 'x')));
  EXPECT_EQ(CSDX_Contents()->substr(0, 10), "R1~999999~");
  EXPECT_FALSE(CSDX_PackString(std::string(999'990, 'x')));
  EXPECT_FALSE(CSDX_Contents().has_value());
  EXPECT_EQ(trace.Lines(), Lines({"D1: CSDX_PackString() failed: heap overflow"}));
}

// clang-format off
TEST(CsdxReading, ReadsCountedFields) {
  const struct { std::string in; size_t used; const char* value; char mark = 0; std::string fault = ""; } rows[] = {
      {"5~hello!", 7, "hello"}, {"0~", 2, ""}, {"X3~a~b", 6, "a~b", 'X'},
      {"~abc", 0, "", 0, "ToSep(): invalid entry []"},
      {"abc", 0, "", 0, "ToSep(): invalid entry [abc]"},
      {std::string("12\0~", 4), 0, "", 0, "ToSep(): invalid entry [12]"},
      {"4~abc", 0, "", 0, "Field(): invalid entry [abc]"},
      {std::string("4~a\0bc", 6), 0, "", 0, "Field(): invalid entry [a]"},
      {"9999999999999999999999~a", 0, "", 0, "Field(): heap overflow (1000000000001)"},
  };
  for (const auto& row : rows) {
    const TraceCapture trace("D1");
    CsdxReader reader{{}, row.in, 0};
    OwnedText value;
    const FieldRead failed = row.fault.starts_with("Field(): heap") ? FieldRead::NoMemory : FieldRead::Malformed;
    EXPECT_EQ(CSDX_ReadField(reader, value), row.fault.empty() ? FieldRead::Read : failed) << row.in;
    if (row.fault.empty()) {
      EXPECT_EQ(row.in.size() - reader.next_entry->size(), row.used) << row.in;
    }
    EXPECT_STREQ(value != nullptr ? value.get() : "", row.value) << row.in;
    EXPECT_EQ(reader.type_mark, row.mark) << row.in;
    EXPECT_EQ(trace.Lines(), row.fault.empty() ? Lines() : Lines({"D1: CSDX_Read" + row.fault}));
    if (row.fault.empty()) continue;
    EXPECT_FALSE(CSDX_ReadToSep(reader));
    EXPECT_EQ(trace.Lines().back(), "D1: CSDX_ReadToSep(): nextEntry == NULL");
  }
}

TEST(CsdxReading, CollectsBlocks) {
  const std::string at = "CSDX_ReceiveNext(): ", first = "D2: " + at + "got first block (offset=0)";
  const std::string whole = "D2: " + at + "got first&last block (offset=0)";
  const struct { Lines blocks; Received result; Lines lines; } rows[] = {
      {{"0~R1~000015~hello"}, Received::Complete, {whole}},
      {{"0~R1~000015~he", "12~llo"}, Received::Complete, {first, "D2: " + at + "got last block (offset=12)"}},
      {{"0~R1~000015~h", "11~el", "13~lo"}, Received::Complete,
       {first, "D2: " + at + "got middle block (offset=11)", "D2: " + at + "got last block (offset=13)"}},
      {{"0~X1~000015~hello"}, Received::Breach, {"D1: " + at + "missing revision number"}},
      {{"0~R2~000015~hello"}, Received::Breach, {"D1: " + at + "revision conflict (current=1, received=2)"}},
      {{"0~R1~000009~"}, Received::Breach, {"D1: " + at + "length is inconsistent"}},
      {{"0~R1~9000000~"}, Received::NoMemory, {"D1: " + at + "heap overflow (8999990)"}},
      {{"5~abc"}, Received::Breach, {"D1: " + at + "csdxBuf == NULL"}},
      {{"0~R1~000015~he", "13~llo"}, Received::Breach, {first, "D1: " + at + "offset is inconsistent (13, expected=12)"}},
      {{"0~R1~000015~he", "11~ello"}, Received::Breach, {first, "D1: " + at + "offset is inconsistent (11, expected=12)"}},
      {{"0~R1~000015~hello!"}, Received::Breach, {whole, "D1: " + at + "length is inconsistent"}},
      {{"hello"}, Received::Breach, {"D1: CSDX_ReadToSep(): invalid entry [hello]"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.blocks.back());
    const TraceCapture trace("D2");
    CsdxPayload payload;
    Received result = Received::MoreFollow;
    for (const std::string& block : row.blocks) {
      EXPECT_EQ(result, Received::MoreFollow);
      result = CSDX_ReceiveNext(payload, block);
    }
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(payload.View(), row.result == Received::Complete ? "hello" : "");
    EXPECT_EQ(trace.Lines(), row.lines);
  }
}
// clang-format on

}  // namespace
}  // namespace vorlix::test
