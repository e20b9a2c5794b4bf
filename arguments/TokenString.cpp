// The token classes of a process are one immutable set behind an atomic pointer: a scan loads the pointer
// once for each token, takes no lock and never sees half of a change. A change makes a new set, under a lock
// that only those who change take. A scan may be reading any set at any time, so none is ever freed; sets are
// found again by their texts, so that memory grows with the different texts in use and not with the number of
// changes.
#include "arguments/TokenString.h"

#include "values/Locks.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <numeric>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t FORMAT_BYTES = 16384;

// The places of the classes in a set: code - 1.
enum ClassIndex
{
    WORD_CHARACTERS,
    DELIMITERS,
    WHITE_SPACE,
    FIRST_OPERATORS,
    SECOND_OPERATORS,
    WILD_ENTRIES,
    CLASS_COUNT
};

using ClassTexts = std::array<std::string, CLASS_COUNT>;

const char* const DEFAULT_TEXTS[CLASS_COUNT] = {
    "_.",                // WORD_CHARACTERS
    ",;:[]{}!@#$^()\\",  // DELIMITERS
    "",                  // WHITE_SPACE
    "+ - * / %",
    "| & || && <= => <> == != << >> < > = ~ or and not",
    "*?",  // WILD_ENTRIES
};

// What a byte can be. The traits of a byte above 0x7F hold where it stands alone.
enum Trait : unsigned char
{
    LETTER = 1,
    WORD_START = 2,
    WORD_PART = 4,
    SPACE = 8,
    QUOTE = 16
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

// Bytes of the well-formed UTF-8 character of several bytes at the start of the text; 1 where there is none.
std::size_t CharacterLength(std::string_view s)
{
    const unsigned char lead = Byte(s[0]);
    if (lead < 0xC2 || lead > 0xF4)
        return 1;
    const std::size_t n = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (s.size() < n)
        return 1;
    // The second byte has a narrower range where the character would be longer than its code needs, a
    // surrogate, or above the last code point.
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (Byte(s[1]) < low || Byte(s[1]) > high)
        return 1;
    for (std::size_t i = 2; i < n; ++i)
        if ((Byte(s[i]) & 0xC0) != 0x80)
            return 1;
    return n;
}

// By hand, since operators are a byte or two.
bool StartsWith(std::string_view s, std::string_view entry)
{
    if (s.size() < entry.size())
        return false;
    std::size_t i = 0;
    while (i < entry.size() && s[i] == entry[i])
        ++i;
    return i == entry.size();
}

std::vector<std::string> Entries(const std::string& list)
{
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < list.size();) {
        const std::size_t end = std::min(list.find(' ', i), list.size());
        if (end > i)
            entries.push_back(list.substr(i, end - i));
        i = end + 1;
    }
    return entries;
}

// Six classes with all that a scan needs of them.
class TokenClasses
{
public:
    TokenClasses(ClassTexts texts, const TokenClasses* pOlder);

    const ClassTexts& Texts() const { return m_texts; }
    const TokenClasses* Older() const { return m_pOlder; }

    bool Has(char c, Trait trait) const { return (m_traits[Byte(c)] & trait) != 0; }
    // Bytes of the character at the start of the text if it has the trait, else 0.
    std::size_t Match(std::string_view s, Trait trait) const;
    // Bytes of the run of characters with the trait at the start of the text.
    std::size_t Run(std::string_view s, Trait trait) const;

    // Length of the entry that fits at the start of the text, and its type; 0 for none.
    std::size_t Operator(std::string_view s, int* pType) const;
    bool IsWild(const std::string& token) const;

private:
    struct Entry
    {
        std::string text;
        int type;
    };

    void Give(const std::string& characters, unsigned char traits);

    const ClassTexts m_texts;
    const TokenClasses* const m_pOlder;  // the set that was made before this one
    unsigned char m_traits[256];
    std::vector<Entry> m_operators;  // by first byte; those of one byte in the order in which they are tried
    std::size_t m_operatorRanges[257];  // where in m_operators the entries with a first byte begin
    std::vector<std::string> m_wildEntries;
};

TokenClasses::TokenClasses(ClassTexts texts, const TokenClasses* pOlder)
    : m_texts(std::move(texts)), m_pOlder(pOlder), m_traits{}, m_operatorRanges{},
      m_wildEntries(Entries(m_texts[WILD_ENTRIES]))
{
    for (unsigned char c = 0; c < 0x80; ++c) {
        if (_ismbcalpha(c))
            m_traits[c] |= LETTER;
        if (_ismbcalnum(c))
            m_traits[c] |= WORD_START | WORD_PART;
    }
    Give("-._[]", WORD_PART);
    Give(m_texts[WORD_CHARACTERS], WORD_START | WORD_PART);
    Give(" \t", SPACE);
    Give(m_texts[WHITE_SPACE], SPACE);
    Give("\"'`", QUOTE);

    for (std::string& entry : Entries(m_texts[FIRST_OPERATORS]))
        m_operators.push_back({std::move(entry), TokenString::TYPE_CLASS4});
    for (std::string& entry : Entries(m_texts[SECOND_OPERATORS]))
        m_operators.push_back({std::move(entry), TokenString::TYPE_CLASS5});
    std::stable_sort(m_operators.begin(), m_operators.end(),
                     [](const Entry& a, const Entry& b) { return Byte(a.text[0]) < Byte(b.text[0]); });
    for (const Entry& entry : m_operators)
        ++m_operatorRanges[Byte(entry.text[0]) + 1];
    std::partial_sum(std::begin(m_operatorRanges), std::end(m_operatorRanges), std::begin(m_operatorRanges));
}

// Characters of several bytes are letters in any class but white space, where Match asks the text.
void TokenClasses::Give(const std::string& characters, unsigned char traits)
{
    for (std::string_view s = characters; !s.empty(); s.remove_prefix(CharacterLength(s)))
        if (CharacterLength(s) == 1)
            m_traits[Byte(s[0])] |= traits;
}

std::size_t TokenClasses::Match(std::string_view s, Trait trait) const
{
    const std::size_t n = Byte(s[0]) < 0x80 ? 1 : CharacterLength(s);
    if (n == 1)
        return Has(s[0], trait) ? 1 : 0;
    if (trait == SPACE)
        return m_texts[WHITE_SPACE].find(s.substr(0, n)) != std::string::npos ? n : 0;
    return n;
}

std::size_t TokenClasses::Run(std::string_view s, Trait trait) const
{
    std::string_view rest = s;
    while (!rest.empty()) {
        const std::size_t n = Match(rest, trait);
        if (n == 0)
            break;
        rest.remove_prefix(n);
    }
    return s.size() - rest.size();
}

std::size_t TokenClasses::Operator(std::string_view s, int* pType) const
{
    const std::size_t first = Byte(s[0]);
    if (m_operatorRanges[first] == m_operatorRanges[first + 1])
        return 0;
    const std::size_t letters = Run(s, LETTER);
    for (std::size_t i = m_operatorRanges[first]; i < m_operatorRanges[first + 1]; ++i) {
        const std::string& entry = m_operators[i].text;
        if (StartsWith(s, entry) && (letters == 0 || letters == entry.size())) {
            *pType = m_operators[i].type;
            return entry.size();
        }
    }
    return 0;
}

bool TokenClasses::IsWild(const std::string& token) const
{
    return std::any_of(m_wildEntries.begin(), m_wildEntries.end(),
                       [&](const std::string& entry) { return token.find(entry) != std::string::npos; });
}

std::atomic<const TokenClasses*> s_pClasses{nullptr};  // in use; null until somebody asks
const TokenClasses* s_pNewest = nullptr;  // head of all sets that were ever made; under ClassLock

// Made on first use and never destroyed: static objects of clients can scan at both ends of the process.
CritSecLock& ClassLock()
{
    static CritSecLock* pLock = new CritSecLock;
    return *pLock;
}

// Puts the set with these texts in place. Under ClassLock.
const TokenClasses& Install(const ClassTexts& texts)
{
    const TokenClasses* p = s_pNewest;
    while (p != nullptr && p->Texts() != texts)
        p = p->Older();
    if (p == nullptr)
        s_pNewest = p = new TokenClasses(texts, s_pNewest);
    s_pClasses.store(p, std::memory_order_release);
    return *p;
}

const TokenClasses& InstallDefaults()
{
    ScopedLock lock(&ClassLock());
    if (const TokenClasses* p = s_pClasses.load(std::memory_order_acquire))
        return *p;
    ClassTexts texts;
    std::copy(std::begin(DEFAULT_TEXTS), std::end(DEFAULT_TEXTS), texts.begin());
    return Install(texts);
}

// What a null text counts as.
const char* OrEmpty(const char* text) { return text == nullptr ? "" : text; }

const TokenClasses& Classes()
{
    const TokenClasses* p = s_pClasses.load(std::memory_order_acquire);
    return p != nullptr ? *p : InstallDefaults();
}

// The number at the start of the text: its length, and its type if there is one.
std::size_t ScanNumber(std::string_view s, int nFlags, int* pType)
{
    const bool bPointAllowed = (nFlags & TokenString::FLAG_POINT) != 0;
    if ((nFlags & TokenString::FLAG_NO_NUMBERS) != 0)
        return 0;
    const auto at = [&](std::size_t i) { return i < s.size() ? s[i] : '\0'; };

    std::size_t n = 0;
    if (at(0) == '-' || at(0) == '+') {
        if ((nFlags & TokenString::FLAG_SIGN) == 0 || (at(1) != '.' && !IsDigit(at(1))))
            return 0;
        n = 1;
    }
    bool bPoint = at(n) == '.';
    if (bPoint) {
        if (!bPointAllowed)
            return 0;
        ++n;
    }
    while (IsDigit(at(n)) || (at(n) == '.' && bPointAllowed && !bPoint)) {
        bPoint = bPoint || at(n) == '.';
        ++n;
    }
    if (n > 0)
        *pType = bPoint ? TokenString::TYPE_DECIMAL : TokenString::TYPE_INTEGER;
    return n;
}

// The token that is not quoted at the start of the text: its length, at least 1, and its type.
std::size_t ScanPlain(const TokenClasses& classes, std::string_view s, int nFlags, int* pType)
{
    if (const std::size_t length = classes.Operator(s, pType))
        return length;
    if (classes.Match(s, WORD_START) == 0) {
        *pType = Byte(s[0]) < 0x80 ? Byte(s[0]) : Byte(s[0]) - 0x100;
        return 1;
    }
    const std::size_t word = classes.Run(s, WORD_PART);
    if (word > ScanNumber(s, nFlags, pType))
        *pType = TokenString::TYPE_WORD;
    return word;
}

// The place of the quote that closes the quoted string at the start of the text, or the length of the text. A
// backslash protects the character behind it.
std::size_t ClosingQuote(std::string_view s)
{
    std::size_t i = 1;
    while (i < s.size() && s[i] != s[0])
        i += s[i] == '\\' ? 2 : 1;
    return std::min(i, s.size());
}

}  // namespace

TokenString::TokenString() : m_nFlags(FLAG_POINT), m_nPosition(0), m_nType(TYPE_NOT_SCANNED), m_bWild(false)
{
}

TokenString::TokenString(const char* text) : TokenString() { assign(OrEmpty(text)); }

TokenString& TokenString::operator=(const std::string& s)
{
    assign(s);
    m_nPosition = 0;
    return *this;
}

TokenString& TokenString::operator=(const char* text)
{
    assign(OrEmpty(text));
    m_nPosition = 0;
    return *this;
}

TokenString& TokenString::operator+=(const std::string& s)
{
    append(s);
    return *this;
}

TokenString& TokenString::operator+=(const char* text)
{
    append(OrEmpty(text));
    return *this;
}

const char* TokenString::Format(const char* format, ...)
{
    clear();
    if (format == nullptr)
        return nullptr;
    va_list args;
    va_start(args, format);
    try {
        char szBuffer[FORMAT_BYTES];
        szBuffer[0] = '\0';
        _vsnprintf(szBuffer, sizeof szBuffer, format, args);
        szBuffer[sizeof szBuffer - 1] = '\0';
        assign(szBuffer);
    } catch (...) {
        // No room for the text: it stays empty.
    }
    va_end(args);
    return c_str();
}

int TokenString::TrimLeft()
{
    if (!empty() && front() == ' ')
        erase(0, find_first_not_of(' '));
    return static_cast<int>(size());
}

int TokenString::TrimRight()
{
    if (!empty() && back() == ' ')
        erase(find_last_not_of(' ') + 1);
    return static_cast<int>(size());
}

void TokenString::SetTokenClass(int nCode, const char* text)
{
    if (nCode < 1 || nCode > CLASS_COUNT || text == nullptr)
        return;
    const std::size_t index = static_cast<std::size_t>(nCode) - 1;
    if (Classes().Texts()[index] == text)
        return;
    ScopedLock lock(&ClassLock());
    ClassTexts texts = Classes().Texts();
    texts[index] = text;
    Install(texts);
}

bool TokenString::NextToken(unsigned int* pPosition, int* pType, TokenString* pToken)
{
    pToken->clear();
    const TokenClasses& classes = Classes();
    const std::string_view text(data(), std::min<std::size_t>(size(), UINT_MAX));  // what a position can tell
    std::string_view rest = text.substr(std::min<std::size_t>(*pPosition, text.size()));
    const std::size_t blanks = classes.Run(rest, SPACE);
    rest.remove_prefix(blanks);

    int type = TYPE_END;
    std::size_t length = 0;
    if (rest.empty()) {
        // The text is used up.
    } else if (classes.Has(rest[0], QUOTE)) {
        const std::size_t end = ClosingQuote(rest);
        pToken->assign(rest.substr(1, end - 1));
        type = rest[0] == '"' ? TYPE_DOUBLE_QUOTED : TYPE_QUOTED;
        length = std::min(end + 1, rest.size());
    } else {
        length = ScanPlain(classes, rest, m_nFlags, &type);
        pToken->assign(rest.substr(0, length));
        pToken->TrimLeft();
        pToken->TrimRight();
    }

    *pPosition += static_cast<unsigned int>(blanks + length);
    *pType = type;
    m_nPosition = *pPosition;
    pToken->m_nType = type;
    pToken->m_bWild = classes.IsWild(*pToken);
    return length != 0;
}
