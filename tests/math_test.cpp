#include "hostif/math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace vorlix {
namespace {

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
      {INFINITY, REAL_LARGEST, 23}, {-INFINITY, REAL_ZERO, 23},   {std::nan(""), REAL_ZERO, 23},
  };
  for (const auto& row : rows) {
    HostReal real{};
    EXPECT_EQ(DoubleToHostReal(row.value, real), row.code) << row.value;
    EXPECT_EQ(real, row.real) << row.value << " gave exponent " << real.exponent << " count " << +real.digit_count;
  }
}

TEST(HostReals, BecomeDoublesOfTwelveDigitsAndIntegersOfAll) {
  constexpr int32_t MOST = INT32_MAX, LEAST = INT32_MIN;
  const struct { HostReal real; double value; int32_t integer, code = 0; } rows[] = {
      {REAL_ZERO, 0.0, 0}, {{1, 1, 1, {1}}, 1.0, 1}, {{0, 1, 1, {99}}, 0.99, 0}, {{4, 1, 1, {7}}, 7e6, 7000000},
      {{1, 1, 2, {3, 99}}, 3.99, 3}, {{1, 0, 2, {3, 99}}, -3.99, -3},
      {{0, 1, 7, {12, 34, 56, 78, 90, 12, 50}}, 0.123456789013, 0},
      {{0, 0, 7, {12, 34, 56, 78, 90, 12, 50}}, -0.123456789013, 0},
      {{0, 1, 7, {12, 34, 56, 78, 90, 12, 49}}, 0.123456789012, 0},
      {{1, 1, 7, {1, 23, 45, 67, 89, 1, 25}}, 1.23456789013, 1},  // the twelfth digit ends inside a byte
      {{5, 1, 8, {99, 99, 99, 99, 99, 99, 50}}, 1e10, MOST, 20},  // the carry makes a digit more
      {{5, 1, 8, {21, 47, 48, 36, 46, 99, 99, 99}}, 2147483647.0, MOST - 1},
      {{5, 1, 6, {21, 47, 48, 36, 47, 90}}, 2147483647.9, MOST},
      {{5, 1, 5, {21, 47, 48, 36, 48}}, 2147483648.0, MOST, 20},
      {{5, 0, 6, {21, 47, 48, 36, 48, 90}}, -2147483648.9, LEAST},
      {{5, 0, 5, {21, 47, 48, 36, 49}}, -2147483649.0, LEAST, 20},
      {{6, 1, 1, {1}}, 1e10, MOST, 20}, {{63, 1, 8, {99, 99, 99, 99, 99, 99, 99, 99}}, 1e126, MOST, 20},
      {{-64, 1, 1, {1}}, 1e-130, 0},
      // No host reals: one that is not normalised, and what has too large an exponent, count or digit.
      {{3, 1, 3, {0, 5, 50}}, 550.0, 550}, {{32767, 1, 0, {}}, 0.0, 0}, {{32767, 1, 1, {1}}, INFINITY, MOST, 20},
      {{32767, 0, 1, {1}}, -INFINITY, LEAST, 20}, {{-32768, 0, 1, {1}}, 0.0, 0}, {{0, 1, 255, {255, 255}}, 0.9999, 0},
  };
  for (const auto& row : rows) {
    double value = -1;
    EXPECT_EQ(HostRealToDouble(row.real, value), 0);
    EXPECT_TRUE(value == row.value && (value != 0 || !std::signbit(value))) << value << " for " << row.value;
    int32_t integer = 99;
    EXPECT_EQ(HostRealToInt(row.real, integer), row.code) << row.value;
    EXPECT_EQ(integer, row.integer) << row.value;
  }
}
// clang-format on

TEST(HostReals, TwelveDigitsGoThereAndBack) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const std::string digits = std::to_string(random() % 1'000'000'000'000);
    const std::string text =
        (i % 2 == 0 ? "-" : "") + digits + "e" + std::to_string(static_cast<int>(random() % 220) - 120);
    const double value = std::stod(text);
    HostReal real{};
    double back = 0;
    ASSERT_EQ(DoubleToHostReal(value, real), 0) << text;
    static_cast<void>(HostRealToDouble(real, back));
    ASSERT_EQ(back, value) << text;
  }
}

TEST(HostRealsDeathTest, InvalidValueEndsTheProcess) {
  const HostReal invalid = {1, REAL_INVALID, 1, {1}};
  double real = 0;
  int32_t integer = 0;
  EXPECT_DEATH(static_cast<void>(HostRealToDouble(invalid, real)),
               "fatal math error cc #-2\nfile = hostif/math.cpp, line = [0-9]+\n");
  EXPECT_DEATH(static_cast<void>(HostRealToInt(invalid, integer)), "fatal math error cc #-2\n");
}

}  // namespace
}  // namespace vorlix
