#include "platform/vfw.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

// Sizes, offsets and numbers are held by platform/vfw_layout_checks.h when anything is compiled.

TEST(VfwRecords, FourCharacterCodesStandInMemoryAsTheyAreRead)
{
    const DWORD code = mmioFOURCC('O', '8', 'Y', '2');
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&code), sizeof code), "O8Y2");
    EXPECT_EQ(mmioFOURCC('\xFF', '\x80', '\0', '\xFE'), 0xFE0080FFU);
}

TEST(VfwRecords, WhatADriverPassesOnGivesZero)
{
    for (const UINT message : {0U, 1000U, 16383U})
        EXPECT_EQ(DefDriverProc(0, nullptr, message, -1, -1), 0) << message;
}

TEST(VfwRecords, ResultsKeepTheirSignInALongResult)
{
    const LRESULT result = ICERR_BADFORMAT;
    EXPECT_EQ(result, -2);
}
