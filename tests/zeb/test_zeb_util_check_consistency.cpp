// SPDX-License-Identifier: Apache-2.0
// Address texts: how ZEB_UTIL reads them, and which of them the consistency rules accept (exactly
// those that the reader takes whole).
#include "pgm/zeb/zeb_util_check_consistency.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(AddressTexts, HexadecimalWithTheLowerCasePrefixElseDecimalWithin32Bits)
{
    // Reading stops at the first non-digit; the prefix counts only at the very start and in lower
    // case ("0X1F" is read in base 10); no octal; leading white space and a sign in base 10; negative
    // values wrap modulo 2^32.
    constexpr int64_t NO_DIGITS = -1, BEYOND_32_BITS = -2;
    const struct
    {
        int64_t value;
        std::vector<const char*> addresses; // texts that read to the value and are accepted as addresses
        std::vector<const char*> others;    // texts that read to the value but are no address
    } cases[] = {
        {0, {"0"}, {"0x", "0xg1", "0X1F", "0X01F00000", " 0x10", "0 x"}},
        {31, {"0x1F", "0x1f", "31"}, {"0x1Fz9", "0x01FO0000"}},
        {0x40000, {"0x00040000", "262144"}, {}},
        {0x1F00000, {"0x01F00000"}, {}},
        {0xFFFFFFFF, {"0xFFFFFFFF", "0xffffffff", "4294967295"}, {"-1"}},
        {1, {}, {"-4294967295", "01F00000"}},
        {16, {}, {"0x10 "}},
        {12, {}, {"12abc"}},
        {10, {"010"}, {}},
        {42, {}, {"  \t42"}},
        {7, {}, {"+7"}},
        {NO_DIGITS, {"auto"}, {"", " ", "AUTO", "x10", "-", "+", "- 1", "\n"}},
        {BEYOND_32_BITS,
         {},
         {"0x100000000", "4294967296", "-4294967296", "0xFFFFFFFFFFFFFFFFFF", "99999999999999999999"}},
    };
    for (const auto& c : cases)
        for (const auto& [texts, address] : {std::pair{c.addresses, true}, std::pair{c.others, false}})
            for (const char* text : texts)
            {
                EXPECT_EQ(zeb_is_address_text(text), address) << '"' << text << '"';
                if (c.value == NO_DIGITS)
                    EXPECT_THROW(ZEB_UTIL::convert_string_to_dword(text), std::invalid_argument) << '"' << text << '"';
                else if (c.value == BEYOND_32_BITS)
                    EXPECT_THROW(ZEB_UTIL::convert_string_to_dword(text), std::out_of_range) << '"' << text << '"';
                else
                    EXPECT_EQ(ZEB_UTIL::convert_string_to_dword(text), c.value) << '"' << text << '"';
            }
}
