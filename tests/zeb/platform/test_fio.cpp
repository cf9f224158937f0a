// SPDX-License-Identifier: Apache-2.0
// File library: path values, the extension table, file-system queries and the text streams.
#include "pgm/zeb/platform/fio/fio.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;
using corvane_test::read_file;
using corvane_test::write_file;

namespace
{

// A fresh directory per case, also used as the working directory for relative paths.
class FioTest : public testing::Test
{
protected:
    // Names of the entries of the test directory.
    std::set<std::string> entries() const
    {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_dir))
            names.insert(entry.path().filename().string());
        return names;
    }

    static std::string read_all(const std::string& path)
    {
        HTL_ZIFSTREAM in(path);
        EXPECT_TRUE(in.is_open()) << path;
        std::ostringstream text;
        text << in.stream().rdbuf();
        return text.str();
    }

    corvane_test::SCRATCH_CWD m_cwd;
    const fs::path m_dir = m_cwd.path();
};

// Every enumerator of both enums. The two enums name the same contents, so each extension
// enumerator pairs with the file type of the same name.
struct ENUMERATOR
{
    FIO_EXTENSION_TYPE extension;
    FIO_FILE_TYPE file_type;
    const char* name;
};
// clang-format off
#define FIO_ENUMERATOR(NAME) {FIO_EXTENSION_TYPE_##NAME, FIO_FILE_TYPE_##NAME, #NAME}
constexpr ENUMERATOR ENUMERATORS[] = {
    FIO_ENUMERATOR(CDF),    FIO_ENUMERATOR(SOF),    FIO_ENUMERATOR(POF),    FIO_ENUMERATOR(JAM),    FIO_ENUMERATOR(JBC),
    FIO_ENUMERATOR(SVF),    FIO_ENUMERATOR(HEXOUT), FIO_ENUMERATOR(HEX),    FIO_ENUMERATOR(RBF),    FIO_ENUMERATOR(MSF),
    FIO_ENUMERATOR(PMSF),   FIO_ENUMERATOR(MAP),    FIO_ENUMERATOR(TTF),    FIO_ENUMERATOR(RPD),    FIO_ENUMERATOR(JIC),
    FIO_ENUMERATOR(EKP),    FIO_ENUMERATOR(HIOF),   FIO_ENUMERATOR(BIN),    FIO_ENUMERATOR(MIF),    FIO_ENUMERATOR(KEY),
    FIO_ENUMERATOR(PEM),    FIO_ENUMERATOR(ZIP),    FIO_ENUMERATOR(HLK),    FIO_ENUMERATOR(TXT),    FIO_ENUMERATOR(ZEB),
    FIO_ENUMERATOR(INI),    FIO_ENUMERATOR(HKY),    FIO_ENUMERATOR(HEK),    FIO_ENUMERATOR(FUSE),
};
#undef FIO_ENUMERATOR
// clang-format on

} // namespace

// ---- Extension table ---------------------------------------------------------------------------

TEST(FioTable, EveryEnumeratorHasOneConsistentRowAndLookupIgnoresCase)
{
    std::set<std::string> texts;
    std::set<std::string> descriptions;
    const auto lower_case_of = [](char text, char name) { return text == std::tolower(name); };
    for (const ENUMERATOR& e : ENUMERATORS)
    {
        const std::string text = fio_get_extension_string(e.extension);
        EXPECT_TRUE(std::ranges::equal(text, std::string_view(e.name), lower_case_of)) << text;
        EXPECT_TRUE(texts.insert(text).second) << "extension text used twice: " << text;
        EXPECT_EQ(fio_get_extension_type(text), e.extension) << text;
        EXPECT_EQ(fio_get_extension_type("." + std::string(e.name)), e.extension) << e.name; // case, one dot
        EXPECT_EQ(fio_get_file_type(e.extension), e.file_type) << text;

        const std::string description = fio_get_file_type_description(e.file_type);
        const std::string suffix = "(." + text + ")";
        ASSERT_GT(description.size(), suffix.size()) << text;
        EXPECT_EQ(description.substr(description.size() - suffix.size()), suffix) << description;
        EXPECT_TRUE(descriptions.insert(description).second) << "description used twice: " << description;
    }
    EXPECT_EQ(fio_get_extension_string(FIO_EXTENSION_TYPE_NONE), "");
    EXPECT_EQ(fio_get_file_type(FIO_EXTENSION_TYPE_NONE), FIO_FILE_TYPE_UNKNOWN);
    EXPECT_EQ(fio_get_file_type_description(FIO_FILE_TYPE_UNKNOWN), "");
    for (const char* unknown : {"", ".", "..sof", "sofx", "so", "s.of", " sof", "exe"})
        EXPECT_EQ(fio_get_extension_type(unknown), FIO_EXTENSION_TYPE_NONE) << '"' << unknown << '"';
}

// ---- Paths -------------------------------------------------------------------------------------

// Paths are made absolute against the working directory and normalised; a leading dot names a hidden
// file, it does not start an extension.
TEST_F(FioTest, PathDecompositionAndNormalisation)
{
    const std::string cwd = fs::current_path().string();
    const struct
    {
        std::string path, full, directory, file_name, base_name, extension;
        FIO_EXTENSION_TYPE type;
    } cases[] = {
        {"/x/y/design.sof", "/x/y/design.sof", "/x/y", "design.sof", "design", "sof", FIO_EXTENSION_TYPE_SOF},
        {"/x/top.rev2.tar.gz", "/x/top.rev2.tar.gz", "/x", "top.rev2.tar.gz", "top.rev2.tar", "gz",
         FIO_EXTENSION_TYPE_NONE},
        {"/x/Makefile", "/x/Makefile", "/x", "Makefile", "Makefile", "", FIO_EXTENSION_TYPE_NONE},
        {"/x/.corvane", "/x/.corvane", "/x", ".corvane", ".corvane", "", FIO_EXTENSION_TYPE_NONE},
        {"/x/.corvane.INI", "/x/.corvane.INI", "/x", ".corvane.INI", ".corvane", "INI", FIO_EXTENSION_TYPE_INI},
        {"/top.pof", "/top.pof", "/", "top.pof", "top", "pof", FIO_EXTENSION_TYPE_POF},
        {"sub/../a/./f.rbf", cwd + "/a/f.rbf", cwd + "/a", "f.rbf", "f", "rbf", FIO_EXTENSION_TYPE_RBF},
        {".", cwd, fs::path(cwd).parent_path().string(), fs::path(cwd).filename().string(),
         fs::path(cwd).filename().string(), "", FIO_EXTENSION_TYPE_NONE},
        {"/x//y///", "/x/y", "/x", "y", "y", "", FIO_EXTENSION_TYPE_NONE},
        {"/", "/", "/", "", "", "", FIO_EXTENSION_TYPE_NONE},
        {"/..", "/", "/", "", "", "", FIO_EXTENSION_TYPE_NONE},
        {"/a/b/..", "/a", "/", "a", "a", "", FIO_EXTENSION_TYPE_NONE},
        {"", "", "", "", "", "", FIO_EXTENSION_TYPE_NONE},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.path);
        const FIO_PATH path(c.path);
        EXPECT_EQ(path.get_full_path(), c.full);
        EXPECT_EQ(path.is_empty(), c.full.empty());
        EXPECT_EQ(path.get_directory(), c.directory);
        EXPECT_EQ(path.get_file_name(), c.file_name);
        EXPECT_EQ(path.get_base_name(), c.base_name);
        EXPECT_EQ(path.get_extension(), c.extension);
        EXPECT_EQ(path.get_extension_type(), c.type);
    }
    EXPECT_TRUE(FIO_PATH().is_empty());
    EXPECT_TRUE(FIO_PATH("/a/b/../c") == FIO_PATH("/a/c"));
    EXPECT_FALSE(FIO_PATH("/a/c") == FIO_PATH("/a/C"));
}

// ---- File system -------------------------------------------------------------------------------

TEST_F(FioTest, FileSystemQueries)
{
    write_file((m_dir / "file.txt").string(), "x");
    const FIO_PATH dir(m_dir.string());
    const FIO_PATH file((m_dir / "file.txt").string());
    const FIO_PATH missing((m_dir / "missing").string());
    EXPECT_TRUE(FIO_FILE_SYSTEM::exists(dir) && FIO_FILE_SYSTEM::exists(file));
    EXPECT_FALSE(FIO_FILE_SYSTEM::exists(missing) || FIO_FILE_SYSTEM::exists(FIO_PATH()));
    EXPECT_TRUE(FIO_FILE_SYSTEM::is_directory(dir) && FIO_FILE_SYSTEM::is_writable_directory(dir));
    EXPECT_FALSE(FIO_FILE_SYSTEM::is_directory(file) || FIO_FILE_SYSTEM::is_writable_directory(file));
    EXPECT_FALSE(FIO_FILE_SYSTEM::is_writable_directory(missing));
    if (geteuid() != 0) // the superuser may write anywhere
    {
        fs::create_directory(m_dir / "locked");
        fs::permissions(m_dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_FALSE(FIO_FILE_SYSTEM::is_writable_directory(FIO_PATH((m_dir / "locked").string())));
        fs::permissions(m_dir / "locked", fs::perms::owner_all);
    }
}

TEST_F(FioTest, DataDirectory)
{
    // An empty setting counts as unset: a directory that holds the schema is found (not the
    // working directory, which has none).
    setenv("CORVANE_DATA_DIR", "", 1);
    const std::string found = fio_get_data_directory();
    EXPECT_TRUE(fs::exists(fs::path(found) / "xsd" / "zeb.xsd")) << found;
    setenv("CORVANE_DATA_DIR", m_dir.c_str(), 1);
    EXPECT_EQ(fio_get_data_directory(), m_dir.string());
    setenv("CORVANE_DATA_DIR", found.c_str(), 1); // one that works for what runs next
}

// ---- Streams -----------------------------------------------------------------------------------

TEST_F(FioTest, OutputStreamReplacesOnlyOnCommit)
{
    const fs::path target = m_dir / "out.zeb";
    write_file(target.string(), "old content\n");
    const fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    fs::permissions(target, mode);
    {
        HTL_ZOFSTREAM out(target.string());
        ASSERT_TRUE(out.is_open()) << out.error();
        out.stream() << "new content\n";
        out.stream().flush();
        EXPECT_EQ(read_file(target.string()), "old content\n");
        EXPECT_EQ(entries().size(), 2u); // the target and the temporary file beside it
    }
    EXPECT_EQ(read_file(target.string()), "old content\n");
    EXPECT_EQ(entries(), std::set<std::string>{"out.zeb"});

    HTL_ZOFSTREAM out(target.string());
    out.stream() << "new content\n";
    ASSERT_TRUE(out.commit()) << out.error();
    EXPECT_EQ(read_file(target.string()), "new content\n");
    EXPECT_EQ(entries(), std::set<std::string>{"out.zeb"});
    EXPECT_FALSE(out.is_open());
    EXPECT_EQ(fs::status(target).permissions() & fs::perms::all, mode);
    // Committing twice is refused and leaves the file as it is.
    EXPECT_FALSE(out.commit());
    EXPECT_FALSE(out.error().empty());
    EXPECT_EQ(read_file(target.string()), "new content\n");
}

TEST_F(FioTest, OutputStreamFailsCleanlyWhereNothingCanBeWritten)
{
    for (const fs::path& target : {m_dir / "no" / "such" / "dir" / "out.rpd", m_dir, fs::path()})
    {
        HTL_ZOFSTREAM out(target.string());
        EXPECT_FALSE(out.is_open()) << target;
        EXPECT_FALSE(out.error().empty()) << target;
        out.stream() << "ignored";
        EXPECT_TRUE(out.stream().bad());
        EXPECT_FALSE(out.commit()) << target;
    }
    EXPECT_TRUE(entries().empty());
}

// A compressed file of more than one internal buffer reads back whole; cut short, it must not read as
// a complete, shorter one. Plain and empty files read as they are; what cannot be opened is refused.
TEST_F(FioTest, InputStreamReadsCompressedPlainAndEmptyFilesAndRefusesDamage)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += "line " + std::to_string(i) + std::string(static_cast<size_t>(i % 17), '#') + "\n";
    const std::string target = (m_dir / "big.zeb").string();
    {
        HTL_ZOFSTREAM out(target, true);
        ASSERT_TRUE(out.is_open()) << out.error();
        out.stream() << text;
        ASSERT_TRUE(out.commit()) << out.error();
    }
    const std::string raw = read_file(target);
    ASSERT_GE(raw.size(), 2u);
    EXPECT_EQ(raw.substr(0, 2), "\x1f\x8b");
    EXPECT_LT(raw.size(), text.size());
    EXPECT_EQ(read_all(target), text);
    write_file(target, raw.substr(0, raw.size() / 2));
    HTL_ZIFSTREAM cut(target);
    ASSERT_TRUE(cut.is_open());
    std::string line;
    while (std::getline(cut.stream(), line))
    {
    }
    EXPECT_TRUE(cut.stream().bad());

    write_file("plain.txt", "\x1f not gzip\nsecond line");
    EXPECT_EQ(read_all("plain.txt"), "\x1f not gzip\nsecond line");
    write_file("empty", "");
    HTL_ZIFSTREAM empty("empty");
    ASSERT_TRUE(empty.is_open());
    EXPECT_FALSE(std::getline(empty.stream(), line));
    EXPECT_FALSE(empty.stream().bad());
    for (const std::string& unreadable : {(m_dir / "missing.zeb").string(), m_dir.string()})
    {
        HTL_ZIFSTREAM in(unreadable);
        EXPECT_FALSE(in.is_open()) << unreadable;
        EXPECT_FALSE(std::getline(in.stream(), line));
    }
}
