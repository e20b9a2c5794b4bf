// TokenString: a string that formats, and that cuts its own text into tokens by six process-wide token
// classes.
//
// An object belongs to one thread. Each token is cut by the classes as they stand when its scan starts; they
// may be replaced by any thread at any time.
//
//   Type    Token                       Class   Default                         Role
//   -1      word                        1       _.                              extra characters of a word
//   -2      digits only                 2       ,;:[]{}!@#$^()\                 stored, not read
//   -3      digits with one point       3       (empty)                         extra white space
//   -4      entry of class 4            4       + - * / %                       operators
//   -5      entry of class 5            5       | & || && <= => <> == != ...    operators
//   -8      in double quotes            6       *?                              wild entries
//   -9      in single or back quotes
//   -1000   no scan has set this object
//   0       no token left
//   other   one character: its code as a signed 8-bit value
//
// A list of operators is entries separated by blanks, tried in order: the first that fits wins. An entry fits
// a letter only where it is all the letters that stand together: or fits "or" and "or1", not "order".
//
// Bytes above 0x7F: a well-formed UTF-8 character counts as a letter, a stray byte is a one-character token.
#pragma once

#include "logging/LogWrapper.h"

#include <string>

class TokenString : public std::string
{
public:
    static constexpr int TYPE_WORD = -1;
    static constexpr int TYPE_INTEGER = -2;
    static constexpr int TYPE_DECIMAL = -3;
    static constexpr int TYPE_CLASS4 = -4;
    static constexpr int TYPE_CLASS5 = -5;
    static constexpr int TYPE_DOUBLE_QUOTED = -8;
    static constexpr int TYPE_QUOTED = -9;
    static constexpr int TYPE_NOT_SCANNED = -1000;
    static constexpr int TYPE_END = 0;

    TokenString();
    explicit TokenString(const char* text);

    // Replaces the text; the position is at its start again.
    TokenString& operator=(const std::string& s);
    TokenString& operator=(const char* text);
    TokenString& operator+=(const std::string& s);
    TokenString& operator+=(const char* text);

    // Replaces the text by at most 16383 formatted characters and returns it. Null, with an empty text, for a
    // null format.
    const char* Format(const char* format, ...) ORVEX_PRINTF(2, 3);

    // Take blanks (32 alone) from one end; the new length.
    int TrimLeft();
    int TrimRight();

    // Replaces the token class with that code, 1 to 6, for the whole process. Nothing happens for another
    // code or a null text. Setting the text that is in place costs a comparison. A set of classes, once used,
    // stays in memory: meant for the few that a process needs.
    static void SetTokenClass(int nCode, const char* text);

    // The next token of this text from *pPosition on, which moves behind it. False, type 0 and an empty token
    // when the text is used up; a zero byte has type 0 too, so the result tells. Fails on no text.
    bool NextToken(unsigned int* pPosition, int* pType, TokenString* pToken);

    int GetType() const { return m_nType; }
    bool IsWild() const { return m_bWild; }  // the token holds an entry of class 6

    // Bits of SetFlags, 4 at construction.
    static constexpr int FLAG_NO_NUMBERS = 2;
    static constexpr int FLAG_POINT = 4;
    static constexpr int FLAG_SIGN = 8;
    void SetFlags(int nFlags) { m_nFlags = nFlags; }

private:
    int m_nFlags;
    unsigned int m_nPosition;
    int m_nType;
    bool m_bWild;
};
