// SPDX-License-Identifier: Apache-2.0
// Address texts that the consistency rules accept: exactly those that the address reader takes whole.
#include "pgm/zeb/zeb_util_check_consistency.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(ZebConsistency, AnAddressTextIsOneTheReaderTakesWhole)
{
    const struct
    {
        const char* text;
        bool accepted;
    } cases[] = {
        {"auto", true},        {"0x01F00000", true},  {"0xffffffff", true}, {"0", true},   {"4294967295", true},
        {"0x01FO0000", false}, {"0X01F00000", false}, {"01F00000", false},  {"0x", false}, {"0x100000000", false},
        {"4294967296", false}, {" 0x10", false},      {"-1", false},        {"", false},   {"AUTO", false},
        {"0x10 ", false},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(zeb_is_address_text(c.text), c.accepted) << c.text;
        // An accepted text other than "auto" reads whole: its value prints back to the same number.
        if (c.accepted && std::string(c.text) != "auto")
        {
            const uint32_t value = ZEB_UTIL::convert_string_to_dword(c.text);
            EXPECT_EQ(std::stoull(c.text, nullptr, 0), value) << c.text;
        }
    }
}
