// Any bytes as a text to cut into tokens. The first byte chooses the token classes, the second the flags.
#include "arguments/TokenString.h"
#include "fuzz/Properties.h"

#include <cstdint>
#include <iterator>

namespace {

// Classes 1, 3, 4, 5 and 6: those of the process start, those of the text form, and some that get in each
// other's way.
const char* const CLASSES[][5] = {
    {"_.", "", "+ - * / %", "| & || && <= => <> == != << >> < > = ~ or and not", "*?"},
    {".<>/?[]{}+-|!@#$%^&()*_\\~", "", "", "| & || && <= => <> == != << >> < > = ~ or and not", "*?"},
    {"", "", "", "", ""},
    {"a \xC3\xA9\xE9\"", "", "a aa  - ", "\xC3\xA9 = == '", "a * \xE9"},
    {"+-.", "x\r\n\xC2\xA0", "or + xx", "1 12 or", "? *"},
};

int ClassCode(std::size_t i) { return i == 0 ? 1 : static_cast<int>(i) + 2; }

bool IsAll(const std::string& s, const char* characters)
{
    return s.find_first_not_of(characters) == std::string::npos;
}

// How the token stands in the piece of the text that it was taken from, behind the white space in front of
// it.
void RequireTokenIsItsPiece(const TokenString& token, const std::string& piece)
{
    const int type = token.GetType();
    const bool bQuote = !piece.empty() && std::string("\"'`").find(piece[0]) != std::string::npos;
    if (bQuote) {
        Require(type == (piece[0] == '"' ? -8 : -9), "a quote begins a quoted token");
        const bool bClosed = piece.size() == token.size() + 2 && piece.back() == piece[0];
        Require(bClosed || piece.size() == token.size() + 1,
                "a quoted token ends at its quote or with the text");
        Require(piece.compare(1, token.size(), token) == 0,
                "a quoted token is what stands between the quotes");
        return;
    }
    const std::size_t end = piece.find_last_not_of(' ');
    Require(token == piece.substr(0, end + 1), "a token is its piece of the text without blanks");
    if (token.size() == 1 && type == static_cast<signed char>(token[0]))
        return;
    Require(type <= -1 && type >= -5,
            "a token of several characters has the type of a word, number or operator");
    Require(type != -2 || IsAll(token, "+-0123456789"), "an integer is digits");
    Require(type != -3 || IsAll(token, "+-.0123456789"), "a decimal is digits with a point");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || size > LONGEST_INPUT)
        return 0;
    const auto& classes = CLASSES[data[0] % std::size(CLASSES)];
    for (std::size_t i = 0; i < std::size(classes); ++i)
        TokenString::SetTokenClass(ClassCode(i), classes[i]);
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
    TokenString source;
    source = text;
    source.SetFlags(data[1] & 14);

    const bool bPlainBlanks = *classes[1] == '\0';
    TokenString token;
    int type = 0;
    unsigned int position = 0;
    for (unsigned int before = 0; source.NextToken(&position, &type, &token); before = position) {
        Require(position > before && position <= text.size(),
                "a token moves the position on, inside the text");
        Require(token.GetType() == type, "both tell the same type");
        if (!bPlainBlanks)
            continue;
        const std::size_t start = text.find_first_not_of(" \t", before);
        Require(start < position, "only white space stands between tokens");
        RequireTokenIsItsPiece(token, text.substr(start, position - start));
    }
    Require(position == text.size(), "the last token ends where the text ends");
    Require(type == 0 && token.empty() && !token.IsWild(), "behind the last token there is none");
    Require(!source.NextToken(&position, &type, &token) && position == text.size(), "the end stays the end");
    return 0;
}
