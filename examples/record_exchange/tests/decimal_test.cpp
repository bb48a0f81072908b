#include "decimal.h"

#include <gtest/gtest.h>

#include <string>

namespace record_exchange {
namespace {

TEST(Decimal, HasOnePlainForm) {
  static constexpr struct {
    const wchar_t* text;
    const wchar_t* plain;  // null: refused
  } cases[] = {
      {L"0", L"0"},        {L"-0.00", L"0"},        {L"+007", L"7"},    {L".5", L"0.5"},
      {L"5.", L"5"},       {L"-12.340", L"-12.34"}, {L"1200", L"1200"}, {L"1.5E+01", L"15"},
      {L"1E-3", L"0.001"}, {L"2.50e2", L"250"},     {L"0E+9", L"0"},    {L"", nullptr},
      {L"-", nullptr},     {L".", nullptr},         {L"1,5", nullptr},  {L" 1", nullptr},
      {L"1E", nullptr},    {L"1E99999", nullptr},   {L"--1", nullptr},  {L"1.2.3", nullptr},
  };
  for (const auto& [text, plain] : cases) {
    Decimal decimal;
    ASSERT_EQ(decimal.parse(text), plain != nullptr) << std::string(text, text + std::wcslen(text));
    if (plain == nullptr) continue;
    EXPECT_EQ(decimal.plain(), plain);
  }
}

// Whatever fits a picture comes back from its digits, and nothing else is said to fit.
TEST(Decimal, GoesThroughAPictureAndBack) {
  for (int value = -12000; value <= 12000; ++value) {
    for (std::size_t places = 0; places <= 3; ++places) {
      std::wstring digits = std::to_wstring(std::abs(value));
      if (digits.size() <= places) digits.insert(0, places + 1 - digits.size(), L'0');
      digits.insert(digits.size() - places, places == 0 ? L"" : L".");
      Decimal decimal;
      ASSERT_TRUE(decimal.parse((value < 0 ? L"-" : L"") + digits));
      for (std::size_t scale = 0; scale <= 3; ++scale) {
        std::wstring picture;
        int lost = 1;
        for (std::size_t i = scale; i < places; ++i) lost *= 10;
        ASSERT_EQ(decimal.to_picture(scale, picture), value % lost == 0);
        if (value % lost != 0) continue;
        Decimal back;
        back.from_picture(picture, scale);
        ASSERT_EQ(back, decimal) << value << " " << places << " " << scale;
      }
    }
  }
}

}  // namespace
}  // namespace record_exchange
