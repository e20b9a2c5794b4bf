#include "failures/OrvexException.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(ExceptionTest, WhatCarriesTextCodeAndStatus)
{
    const struct
    {
        COrvexException exception;
        const char* text;
        const char* what;
    } rows[] = {
        {COrvexException("No value set.", -1, -1), "No value set.",
         "OrvexException: No value set., Code: -1, Status: -1"},
        {COrvexException(std::string("100% %s"), 7, 0), "100% %s",
         "OrvexException: 100% %s, Code: 7, Status: 0"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(row.exception.GetMessage(), row.text);
        EXPECT_STREQ(static_cast<const std::exception&>(row.exception).what(), row.what);
    }
}

TEST(ExceptionTest, CopyOutlivesItsSource)
{
    const std::string text = "a text that is too long for the string's own room";
    auto source = std::make_unique<COrvexException>(text, 3, 4);
    const COrvexException copy = *source;
    source.reset();
    EXPECT_EQ(copy.GetMessage(), text);
    EXPECT_EQ(copy.what(), "OrvexException: " + text + ", Code: 3, Status: 4");
    EXPECT_EQ(copy.GetCode(), 3);
    EXPECT_EQ(copy.GetStatus(), 4);
}

TEST(ExceptionTest, LongTextOfAMachineFaultIsCut)
{
    const std::string text(300, 'x');
    EXPECT_EQ(CSystemException(5, text.c_str()).GetText(), text.substr(0, 255));
    EXPECT_EQ(CSystemException(-7, "short").GetCode(), -7);
}

}  // namespace
