// "Value" of a limit: the text the writer makes and the number the reader
// takes from any text, hand-edited ones included.
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Reading {
    std::wstring text;
    double value;
    const char* why = "";
};

// Leading blanks, a sign, then the longest decimal number with "." as the
// decimal point; whatever follows is ignored, and text without a number is 0.
// Read under a locale whose decimal point is a comma: the reader ignores it.
TEST(ParseLimitValue, ReadsTheLongestDecimalNumberAfterBlanksWhateverTheLocale)
{
    const Reading readings[] = {
        {L"1.5", 1.5}, {L" \t\r\n\v\f4", 4, "every blank of the C locale"}, {L"+7", 7}, {L"-7.25", -7.25},
        {L".5", 0.5}, {L"-.5", -0.5}, {L"5.", 5}, {L"2.5E2", 250}, {L"1e-3", 0.001}, {L".5e1", 5},
        {L"1e", 1, "an exponent needs digits"}, {L"1e+", 1}, {L"1.5abc", 1.5}, {L"1.5.5", 1.5},
        {L"0x1A", 0, "no hexadecimal: the 0 and nothing more"}, {L"1,5", 1, "a comma is not a decimal point"},
        {L"1 000", 1}, {L"abc", 0}, {L"", 0}, {L".", 0}, {L"-", 0}, {L"- 1", 0, "no blank between sign and digits"},
        {L"+-1", 0}, {L"\x0661", 0, "only ASCII digits"},
        {L"  -0", -0.0, "the sign is kept: the writer writes -0 for negative zero"},
        {L"123456789012345678901234567890", 123456789012345678901234567890.0, "rounded once, to the nearest double"},
        {L"0.1000000000000000000000000000000000001", 0.1}, {std::wstring(400, L'9'), kInf, "beyond every double"},
        {L"0." + std::wstring(400, L'0') + L"1", 0, "below every double"}, {L"1.7976931348623157e308", DBL_MAX},
        {L"4.9e-324", std::numeric_limits<double>::denorm_min()},
        {L"1e400", kInf, "the nearest value; the writer's own text for infinity reads back so"}, {L"-1e400", -kInf},
        {L"1e-400", 0}, {L"-1e-400", -0.0},
        // Not decimal numbers, so 0 like any text without one: a hand-edited
        // limit of 0 is refused by the folder dialog the next time the entry is
        // edited, while a NaN would never compare equal nor ever trigger.
        {L"nan", 0}, {L"NaN", 0}, {L"inf", 0}, {L"-inf", 0}, {L"Infinity", 0},
    };
    const DecimalCommaLocale german;
    ASSERT_EQ(*localeconv()->decimal_point, ',');
    for (const Reading& r : readings) {
        const double value = ParseLimitValue(r.text.c_str());
        EXPECT_EQ(value, r.value) << testing::PrintToString(r.text) << " " << r.why;
        EXPECT_EQ(std::signbit(value), std::signbit(r.value)) << "sign of " << testing::PrintToString(r.text);
    }
    EXPECT_EQ(ParseLimitValue(nullptr), 0.0) << "no text";
}

// The writer's text is a plain decimal number, whatever the locale, that reads
// back to the very same double; infinities, which have none, are written as
// numbers beyond every double.
TEST(FormatLimitValue, ReadsBackBitForBit)
{
    const DecimalCommaLocale german;
    EXPECT_EQ(FormatLimitValue(1.5), L"1.5");
    const double values[] = {0.0, -0.0, -3.25, 0.1, 0.1 + 0.2, 1.0 / 3.0, 123456789.125, 1e22, 9007199254740993.0,
                             DBL_EPSILON, 1e-300, std::numeric_limits<double>::denorm_min(), DBL_MIN, DBL_MAX, -DBL_MAX,
                             kInf, -kInf};
    for (const double value : values) {
        const std::wstring text = FormatLimitValue(value);
        SCOPED_TRACE(testing::PrintToString(text));
        if (!std::isinf(value)) {
            EXPECT_EQ(text.find_first_not_of(L"-0123456789."), std::wstring::npos) << "plain decimal digits";
        }
        const double back = ParseLimitValue(text.c_str());
        EXPECT_EQ(back, value);
        EXPECT_EQ(std::signbit(back), std::signbit(value));
    }
}

} // namespace
} // namespace krn::test
