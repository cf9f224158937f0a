// SPDX-License-Identifier: Apache-2.0
// Key files: entries, comments, key lengths, duplicates, malformed lines and writing.
#include "pgm/zeb/key_files.h"
#include "test_support.h"

namespace
{

using corvane_test::read_file;
using corvane_test::SCRATCH_DIR;
using corvane_test::write_file;

const std::string k_key64 = "0123456789abcdefABCDEF0123456789abcdefABCDEF0123456789abcdef0123";

class KeyFiles : public testing::Test
{
protected:
    // Parses `content` as a key file of 256-bit keys.
    bool parse(const std::string& content, ZEB_KEY_FILE_ASSISTANT::KEY_MAP& keys, uint32_t key_bits = 256)
    {
        write_file(dir.file("keys.txt"), content);
        return ZEB_KEY_FILE_ASSISTANT::parse_key_file(dir.file("keys.txt"), key_bits, keys);
    }
    SCRATCH_DIR dir;
};

TEST_F(KeyFiles, KeyLengthFollowsTheKeyBits)
{
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    EXPECT_TRUE(parse("k1 " + k_key64 + "\n", keys));
    EXPECT_EQ(keys.at("k1"), k_key64); // case kept as written
    EXPECT_FALSE(parse("k1 " + k_key64.substr(0, 63) + "\n", keys));
    EXPECT_TRUE(parse("k1 " + k_key64 + "FFFFFF\n", keys));
    EXPECT_EQ(keys.at("k1"), k_key64); // a longer key is cut to its leading digits
    EXPECT_TRUE(parse("k1 anything\n", keys, 0));
    EXPECT_EQ(keys.at("k1"), "");
    // A non-hexadecimal character among the leading digits fails; beyond them it is dropped.
    EXPECT_FALSE(parse("k1 " + k_key64.substr(0, 10) + "#" + k_key64.substr(11) + "\n", keys));
    EXPECT_TRUE(parse("k1 " + k_key64 + "#trailing\n", keys));
}

TEST_F(KeyFiles, CommentsBlanksAndDuplicates)
{
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    const std::string other(64, 'f');
    EXPECT_TRUE(parse("# keys of the board\n\n \tfirst\t" + k_key64 + "  the comment after the key\nfirst " + other +
                          "\nsecond " + other + "\n",
                      keys));
    EXPECT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys.at("first"), k_key64); // the first line of an id wins
    EXPECT_EQ(ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(dir.file("keys.txt"), "first", 256), k_key64);
    EXPECT_EQ(ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(dir.file("keys.txt"), "FIRST", 256), "");
    // A '#' after leading blanks starts an id, not a comment.
    EXPECT_TRUE(parse(" #id " + k_key64 + "\n", keys));
    EXPECT_EQ(keys.count("#id"), 1u);
}

TEST_F(KeyFiles, MalformedFilesAreRefused)
{
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    EXPECT_FALSE(parse("", keys));               // no line at all
    EXPECT_FALSE(parse("lonely_token\n", keys)); // id without key
    EXPECT_FALSE(parse("id   \n", keys));        // delimiters but no key
    EXPECT_FALSE(parse(" \t \n", keys));         // blanks alone
    EXPECT_FALSE(ZEB_KEY_FILE_ASSISTANT::parse_key_file(dir.file("absent.txt"), 256, keys));

    // Entries before the bad line stay in the map, but the file as a whole is not usable.
    EXPECT_FALSE(parse("good " + k_key64 + "\nbad\nlater " + k_key64 + "\n", keys));
    EXPECT_EQ(keys.size(), 1u);
    EXPECT_EQ(ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(dir.file("keys.txt"), "good", 256), "");
}

TEST_F(KeyFiles, WrittenFileReadsBackInIdOrder)
{
    const ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys = {{"b", k_key64}, {"a", std::string(64, '0')}};
    ASSERT_TRUE(ZEB_KEY_FILE_ASSISTANT::write_key_file(dir.file("out.txt"), keys));
    EXPECT_EQ(read_file(dir.file("out.txt")), "a\t" + std::string(64, '0') + "\nb\t" + k_key64 + "\n");
    namespace fs = std::filesystem;
    EXPECT_EQ(fs::status(dir.file("out.txt")).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP back;
    EXPECT_TRUE(ZEB_KEY_FILE_ASSISTANT::parse_key_file(dir.file("out.txt"), 256, back));
    EXPECT_EQ(back, keys);
    EXPECT_FALSE(ZEB_KEY_FILE_ASSISTANT::write_key_file(dir.file("no/such/dir/out.txt"), keys));
}

} // namespace
