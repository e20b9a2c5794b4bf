// A bag as one line of JSON, and back:
//
//   {"entries":[{"key":"InvokeID","id":0,"type":"INT","value":5},{"key":"x","type":"STRING","value":"ab"}]}
//
// Entries stand in position order. "id" is there for keywords; an id without a name has no "key". The types:
//
//   NOTSET                    an Arg that was never set; nothing more
//   INT UINT USHORT SHORT     "value", a whole number in the type's range
//   BOOL STRING               "value", true or false, a text
//   ARGARRAY                  "entries", an Arguments
//   RAW                       "hex", a RawArg
//   ARGUMENT                  "entries", an ArgArguments; without them one that holds nothing
//
// A byte of a key or text is the character of the same number, U+0000 to U+00FF.
#pragma once

#include <string>

class Arguments;

// The bag is changed on the way if it has ids without a name, and is as it was at the end: a caller's own
// bag.
std::string ToJson(Arguments& rBag);

// Adds the entries of a line to the bag. False at the first thing that cannot be read, with the entries
// before it added and what is wrong; also for more than 100 levels of bags. "id" may be left out where there
// is a "key", and a "key" where there is an "id".
bool FromJson(const std::string& sLine, Arguments& rBag, std::string* pFault);
