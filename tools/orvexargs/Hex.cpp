#include "tools/orvexargs/Hex.h"

#include <array>

namespace {

constexpr char DIGITS[] = "0123456789abcdef";
constexpr unsigned char NO_DIGIT = 16;

constexpr std::array<unsigned char, 256> DigitValues()
{
    std::array<unsigned char, 256> values{};
    for (unsigned char& value : values)
        value = NO_DIGIT;
    for (unsigned char i = 0; i < 16; ++i)
        values[static_cast<unsigned char>(DIGITS[i])] = i;
    for (unsigned char i = 10; i < 16; ++i)
        values[static_cast<std::size_t>('A' + i - 10)] = i;
    return values;
}

constexpr std::array<unsigned char, 256> DIGIT_VALUES = DigitValues();

unsigned char DigitValue(char c) { return DIGIT_VALUES[static_cast<unsigned char>(c)]; }

}  // namespace

void AppendHex(std::string* pText, const void* pBytes, std::size_t n)
{
    const unsigned char* p = static_cast<const unsigned char*>(pBytes);
    const std::size_t start = pText->size();
    pText->resize(start + 2 * n);
    char* to = &(*pText)[start];
    for (std::size_t i = 0; i < n; ++i) {
        *to++ = DIGITS[p[i] >> 4];
        *to++ = DIGITS[p[i] & 15];
    }
}

bool FromHex(const std::string& sText, std::string* pBytes, std::string* pFault)
{
    pBytes->clear();
    pBytes->reserve(sText.size() / 2);
    for (std::size_t i = 0; i < sText.size(); i += 2) {
        const unsigned char high = DigitValue(sText[i]);
        const unsigned char low = i + 1 < sText.size() ? DigitValue(sText[i + 1]) : NO_DIGIT;
        if (high == NO_DIGIT || (low == NO_DIGIT && i + 1 < sText.size())) {
            *pFault = "no hexadecimal digit in column " + std::to_string(high == NO_DIGIT ? i + 1 : i + 2);
            return false;
        }
        if (low == NO_DIGIT) {
            *pFault = "an odd number of hexadecimal digits";
            return false;
        }
        *pBytes += static_cast<char>(high << 4 | low);
    }
    return true;
}
