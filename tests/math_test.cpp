#include "hostif/math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

namespace vorlix {
namespace {

constexpr double INF = std::numeric_limits<double>::infinity();

// clang-format off
TEST(HostReals, ComeFromDoubles) {
  const struct { double value; HostReal real; int32_t code = 0; } rows[] = {
      {0.0, REAL_ZERO},            {-0.0, REAL_ZERO},             {1.0, {1, 1, 1, {1}}},     {0.1, {0, 1, 1, {10}}},
      {0.01, {0, 1, 1, {1}}},      {0.001, {-1, 1, 1, {10}}},     {1e100, {51, 1, 1, {1}}},  {0.0001, {-1, 1, 1, {1}}},
      {-1234.5, {2, 0, 3, {12, 34, 50}}},                         {123.456, {2, 1, 4, {1, 23, 45, 60}}},
      {0.123456789012345, {0, 1, 8, {12, 34, 56, 78, 90, 12, 34, 50}}},
      {1.23456789012345, {1, 1, 8, {1, 23, 45, 67, 89, 1, 23, 40}}},  // the fifteenth digit is cut
      {1.99999999999999, {1, 1, 8, {1, 99, 99, 99, 99, 99, 99, 90}}},
      {9.99999999999999e125, {63, 1, 8, {99, 99, 99, 99, 99, 99, 99, 90}}},
      {1e126, {63, 1, 6, {99, 99, 99, 99, 99, 99}}, 23},          {-1e200, {63, 0, 6, {99, 99, 99, 99, 99, 99}}, 23},
      {1e-129, {-64, 1, 1, {10}}}, {1e-130, {-64, 1, 1, {1}}},    {1e-131, REAL_ZERO, 23},   {-1e-200, REAL_ZERO, 23},
      {INF, REAL_LARGEST, 23},     {-INF, REAL_ZERO, 23},         {std::nan(""), REAL_ZERO, 23},
  };
  for (const auto& row : rows) {
    HostReal real{};
    EXPECT_EQ(DoubleToHostReal(row.value, real), row.code) << row.value;
    EXPECT_EQ(real, row.real) << row.value << " gave exponent " << real.exponent << " count " << +real.digit_count;
  }
}

TEST(HostReals, BecomeDoublesOfTwelveDigits) {
  const struct { HostReal real; double value; } rows[] = {
      {REAL_ZERO, 0.0}, {{1, 1, 1, {1}}, 1.0},
      {{0, 1, 7, {12, 34, 56, 78, 90, 12, 50}}, 0.123456789013},
      {{0, 0, 7, {12, 34, 56, 78, 90, 12, 50}}, -0.123456789013},
      {{0, 1, 7, {12, 34, 56, 78, 90, 12, 49}}, 0.123456789012},
      {{1, 1, 7, {1, 23, 45, 67, 89, 1, 25}}, 1.23456789013},  // the twelfth digit ends inside a byte
      {{5, 1, 8, {99, 99, 99, 99, 99, 99, 50}}, 1e10},         // the carry makes a digit more
      {{63, 1, 8, {99, 99, 99, 99, 99, 99, 99, 99}}, 1e126}, {{-64, 1, 1, {1}}, 1e-130},
      {{3, 1, 3, {0, 5, 50}}, 550.0},                          // not normalised
      {{32767, 1, 1, {1}}, INF}, {{-32768, 0, 1, {1}}, 0.0}, {{0, 1, 255, {255, 255}}, 0.9999},  // no host reals
  };
  for (const auto& row : rows) {
    double value = -1;
    EXPECT_EQ(HostRealToDouble(row.real, value), 0);
    EXPECT_TRUE(value == row.value && (value != 0 || !std::signbit(value))) << value << " for " << row.value;
  }
}

TEST(HostReals, BecomeIntegers) {
  constexpr int32_t MOST = std::numeric_limits<int32_t>::max(), LEAST = std::numeric_limits<int32_t>::min();
  const struct { HostReal real; int32_t value, code = 0; } rows[] = {
      {REAL_ZERO, 0}, {{1, 1, 2, {3, 99}}, 3}, {{1, 0, 2, {3, 99}}, -3}, {{0, 1, 1, {99}}, 0},
      {{4, 1, 1, {7}}, 7000000},
      {{5, 1, 6, {21, 47, 48, 36, 47, 90}}, MOST}, {{5, 1, 5, {21, 47, 48, 36, 48}}, MOST, 20},
      {{5, 1, 8, {21, 47, 48, 36, 46, 99, 99, 99}}, MOST - 1},  // no rounding to twelve digits
      {{5, 0, 5, {21, 47, 48, 36, 48}}, LEAST}, {{5, 0, 6, {21, 47, 48, 36, 48, 90}}, LEAST},
      {{5, 0, 5, {21, 47, 48, 36, 49}}, LEAST, 20}, {{6, 1, 1, {1}}, MOST, 20}, {{32767, 1, 0, {}}, 0},
      {{32767, 0, 1, {1}}, LEAST, 20},
  };
  for (const auto& row : rows) {
    int32_t value = 99;
    EXPECT_EQ(HostRealToInt(row.real, value), row.code) << row.value;
    EXPECT_EQ(value, row.value);
  }
}
// clang-format on

TEST(HostReals, TwelveDigitsGoThereAndBack) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    char text[40];
    const auto mantissa = static_cast<long long>(random() % 1'000'000'000'000);
    std::snprintf(text, sizeof text, "%s%llde%d", i % 2 == 0 ? "-" : "", mantissa,
                  static_cast<int>(random() % 220) - 120);
    const double value = std::strtod(text, nullptr);
    HostReal real{};
    double back = 0;
    ASSERT_EQ(DoubleToHostReal(value, real), 0) << text;
    HostRealToDouble(real, back);
    ASSERT_EQ(back, value) << text;
  }
}

TEST(HostRealsDeathTest, InvalidValueEndsTheProcess) {
  const HostReal invalid = {1, REAL_INVALID, 1, {1}};
  double real = 0;
  int32_t integer = 0;
  EXPECT_DEATH(HostRealToDouble(invalid, real), "fatal math error cc #-2\nfile = hostif/math.cpp, line = [0-9]+\n");
  EXPECT_DEATH(HostRealToInt(invalid, integer), "fatal math error cc #-2\n");
}

}  // namespace
}  // namespace vorlix
