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

// A key file's text, whether it reads, and the number of entries and one entry it then holds.
struct KEY_FILE_CASE
{
    std::string content;
    uint32_t key_bits;
    bool ok;
    size_t entries;
    std::string id;
    std::string key; // of `id`, as the map holds it
};

TEST(KeyFiles, LinesKeysAndMalformedFiles)
{
    SCRATCH_DIR dir;
    const std::string other(64, 'f');
    const KEY_FILE_CASE cases[] = {
        {"k1 " + k_key64 + "\n", 256, true, 1, "k1", k_key64}, // case kept as written
        {"k1 " + k_key64.substr(0, 63) + "\n", 256, false, 0, "", ""},
        {"k1 " + k_key64 + "FFFFFF\n", 256, true, 1, "k1", k_key64}, // cut to its leading digits
        {"k1 anything\n", 0, true, 1, "k1", ""},
        // A non-hexadecimal character among the leading digits fails; beyond them it is dropped.
        {"k1 " + k_key64.substr(0, 10) + "#" + k_key64.substr(11) + "\n", 256, false, 0, "", ""},
        {"k1 " + k_key64 + "#trailing\n", 256, true, 1, "k1", k_key64},
        // Comments and blank lines; the first line of an id wins.
        {"# keys of the board\n\n \tfirst\t" + k_key64 + "  a comment\nfirst " + other + "\nsecond " + other + "\n",
         256, true, 2, "first", k_key64},
        {" #id " + k_key64 + "\n", 256, true, 1, "#id", k_key64}, // after blanks '#' starts an id
        {"K1 " + k_key64 + "\n", 256, true, 1, "k1", ""},         // ids compare case-sensitively
        {"", 256, false, 0, "", ""},
        {"lonely_token\n", 256, false, 0, "", ""},
        {"id   \n", 256, false, 0, "", ""},
        {" \t \n", 256, false, 0, "", ""},
        // Entries before the bad line stay in the map, but the file as a whole is not usable.
        {"good " + k_key64 + "\nbad\nlater " + k_key64 + "\n", 256, false, 1, "good", k_key64},
    };
    for (const KEY_FILE_CASE& c : cases)
    {
        write_file(dir.file("keys.txt"), c.content);
        ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
        EXPECT_EQ(ZEB_KEY_FILE_ASSISTANT::parse_key_file(dir.file("keys.txt"), c.key_bits, keys), c.ok) << c.content;
        EXPECT_EQ(keys.size(), c.entries) << c.content;
        if (!c.id.empty())
        {
            EXPECT_EQ(keys[c.id], c.key) << c.content;
            EXPECT_EQ(ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(dir.file("keys.txt"), c.id, c.key_bits),
                      c.ok ? c.key : "")
                << c.content;
        }
    }
    ZEB_KEY_FILE_ASSISTANT::KEY_MAP keys;
    EXPECT_FALSE(ZEB_KEY_FILE_ASSISTANT::parse_key_file(dir.file("absent.txt"), 256, keys));
}

TEST(KeyFiles, WrittenFileReadsBackInIdOrder)
{
    SCRATCH_DIR dir;
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
