#include "dll/shared/csdx.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

using Lines = std::vector<std::string>;

struct Block {
  int32_t code;
  int32_t last;
  std::string text;
};

Block SendNext(int32_t capacity) {
  test::TestString block(capacity);
  int32_t last = -7;
  const int32_t code = CSDX_SendNext(block, IntByReference(&last));
  EXPECT_TRUE(block.GuardsIntact());
  return {code, last, std::string(block.View())};
}

TEST(CsdxBuffer, IsSentInBlocks) {
  const std::string payload(40, 'p');
  ASSERT_EQ(CSDX_PackString(payload), 0);
  const std::string whole = "R1~000050~" + payload;
  EXPECT_EQ(*CSDX_Contents(), whole);

  const Block first = SendNext(40);
  EXPECT_EQ(first.text, "0~" + whole.substr(0, 38));
  EXPECT_EQ(first.last, 0);
  const Block second = SendNext(40);
  EXPECT_EQ(second.text, "38~" + whole.substr(38));
  EXPECT_EQ(second.last, 1);
  const Block third = SendNext(40);
  EXPECT_EQ(third.code, RESULT_REFUSED);
  EXPECT_EQ(third.last, -7);
}

TEST(CsdxBuffer, NeedsRoomForOffsetAndMargin) {
  const struct {
    int32_t capacity;
    int32_t code;
  } rows[] = {{22, 0}, {21, RESULT_TOO_SHORT}, {0, RESULT_TOO_SHORT}, {-4, RESULT_TOO_SHORT}};
  for (const auto& row : rows) {
    ASSERT_EQ(CSDX_PackString("hello"), 0);
    const Block block = SendNext(row.capacity);
    EXPECT_EQ(block.code, row.code) << row.capacity;
    EXPECT_EQ(block.last, 1) << row.capacity;
    EXPECT_EQ(SendNext(100).code, RESULT_REFUSED) << "the buffer is gone either way";
  }
  // The offset of the second block is a digit longer, and the margin counts from there.
  ASSERT_EQ(CSDX_PackString(std::string(60, 'x')), 0);
  EXPECT_EQ(SendNext(22).code, 0);
  EXPECT_EQ(SendNext(22).code, RESULT_TOO_SHORT);
}

TEST(CsdxBuffer, StaysBelowItsLimit) {
  const test::TraceCapture trace("D1");
  EXPECT_EQ(CSDX_PackString(std::string(999'989, 'x')), 0);
  EXPECT_EQ(CSDX_Contents()->substr(0, 10), "R1~999999~");
  EXPECT_EQ(CSDX_PackString(std::string(999'990, 'x')), 1);
  EXPECT_FALSE(CSDX_Contents().has_value());
  {
    const test::FailAllocation fail(0);
    EXPECT_EQ(CSDX_PackString("x"), 1);
  }
  const std::string failed = "D1: CSDX_PackString() failed: heap overflow";
  EXPECT_EQ(trace.Lines(), Lines({failed, failed}));
}

TEST(CsdxReading, ReadsFieldsToTheSeparator) {
  const struct {
    std::string text;
    int64_t result;
    std::string field;
    bool more;
    Lines lines;
  } rows[] = {
      {"ab~cd", 3, "ab", true, {}},
      {"ab~", 3, "ab", true, {}},
      {"~abc", 0, "", false, {"D1: CSDX_ReadToSep(): invalid entry []"}},
      {"abc", 0, "abc", false, {"D1: CSDX_ReadToSep(): invalid entry [abc]"}},
      {std::string("ab\0~", 4), 0, "ab", false, {"D1: CSDX_ReadToSep(): invalid entry [ab]"}},
  };
  for (const auto& row : rows) {
    const test::TraceCapture trace("D1");
    CsdxReader reader{{}, row.text, 0};
    EXPECT_EQ(CSDX_ReadToSep(reader), row.result) << row.text;
    EXPECT_EQ(reader.field, row.field);
    EXPECT_EQ(reader.next_entry.has_value(), row.more);
    EXPECT_EQ(trace.Lines(), row.lines);
    if (row.more) continue;
    EXPECT_EQ(CSDX_ReadToSep(reader), 0);
    EXPECT_EQ(trace.Lines().back(), "D1: CSDX_ReadToSep(): nextEntry == NULL");
  }
}

TEST(CsdxReading, ReadsCountedFields) {
  const struct {
    std::string text;
    int64_t result;
    std::string value;
    char mark;
    Lines lines;
  } rows[] = {
      {"5~hello!", 7, "hello", 0, {}},
      {"0~", 2, "", 0, {}},
      {"X3~a~b", 6, "a~b", 'X', {}},
      {"4~abc", 0, "", 0, {"D1: CSDX_ReadField(): invalid entry [abc]"}},
      {std::string("4~a\0bc", 6), 0, "", 0, {"D1: CSDX_ReadField(): invalid entry [a]"}},
      {"9999999999999999999999~a", -1, "", 0, {"D1: CSDX_ReadField(): heap overflow (1000000000001)"}},
  };
  for (const auto& row : rows) {
    const test::TraceCapture trace("D1");
    CsdxReader reader{{}, row.text, 0};
    OwnedText value;
    EXPECT_EQ(CSDX_ReadField(reader, value), row.result) << row.text;
    EXPECT_EQ(value != nullptr ? value.get() : "", row.value) << row.text;
    if (row.result > 0) {
      EXPECT_EQ(reader.type_mark, row.mark) << row.text;
    }
    EXPECT_EQ(trace.Lines(), row.lines) << row.text;
  }
}

TEST(CsdxReading, CollectsBlocks) {
  const struct {
    Lines blocks;
    Lines lines;      // of levels 1 and 2
    int last_result;  // of the last block
    std::string payload;
  } rows[] = {
      {{"0~R1~000015~hello"}, {"D2: CSDX_ReceiveNext(): got first&last block (offset=0)"}, 0, "hello"},
      {{"0~R1~000015~he", "12~llo"},
       {"D2: CSDX_ReceiveNext(): got first block (offset=0)", "D2: CSDX_ReceiveNext(): got last block (offset=12)"},
       0,
       "hello"},
      {{"0~R1~000015~h", "11~el", "13~lo"},
       {"D2: CSDX_ReceiveNext(): got first block (offset=0)", "D2: CSDX_ReceiveNext(): got middle block (offset=11)",
        "D2: CSDX_ReceiveNext(): got last block (offset=13)"},
       0,
       "hello"},
      {{"0~X1~000015~hello"}, {"D1: CSDX_ReceiveNext(): missing revision number"}, -2, ""},
      {{"0~R2~000015~hello"}, {"D1: CSDX_ReceiveNext(): revision conflict (current=1, received=2)"}, -2, ""},
      {{"0~R1~000009~"}, {"D1: CSDX_ReceiveNext(): length is inconsistent"}, -2, ""},
      {{"0~R1~9000000~"}, {"D1: CSDX_ReceiveNext(): heap overflow (8999990)"}, -1, ""},
      {{"5~abc"}, {"D1: CSDX_ReceiveNext(): csdxBuf == NULL"}, -2, ""},
      {{"0~R1~000015~he", "13~llo"},
       {"D2: CSDX_ReceiveNext(): got first block (offset=0)",
        "D1: CSDX_ReceiveNext(): offset is inconsistent (13, expected=12)"},
       -2,
       ""},
      {{"0~R1~000015~hello!"},
       {"D2: CSDX_ReceiveNext(): got first&last block (offset=0)", "D1: CSDX_ReceiveNext(): length is inconsistent"},
       -2,
       ""},
      {{"hello"}, {"D1: CSDX_ReadToSep(): invalid entry [hello]"}, -2, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.blocks.back());
    const test::TraceCapture trace("D2");
    CsdxPayload payload;
    int result = 1;
    for (const std::string& block : row.blocks) {
      EXPECT_EQ(result, 1);
      result = CSDX_ReceiveNext(payload, block);
    }
    EXPECT_EQ(result, row.last_result);
    EXPECT_EQ(payload.View(), row.payload);
    EXPECT_EQ(trace.Lines(), row.lines);
  }
}

}  // namespace
}  // namespace vorlix
