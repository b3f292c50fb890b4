#include "platform/settings_store.h"
#include "platform/vfw.h"

#include <gtest/gtest.h>

TEST(VfwRecords, FourCharacterCodesStandInMemoryAsTheyAreRead)
{
    const uint32_t code = mmioFOURCC('O', '8', 'Y', '2');
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&code), 4), "O8Y2");
}
