// SPDX-License-Identifier: Apache-2.0
// Reading, normalising and saving setup files through ZEB_UTIL.
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_util.h"
#include "test_support.h"

#include <filesystem>
#include <memory>

namespace
{

using corvane_test::read_file;
using corvane_test::SCRATCH_DIR;
using corvane_test::source_file;
using corvane_test::write_file;

using DOCUMENT = std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB>;

class ZebUtilFile : public testing::Test
{
protected:
    void SetUp() override { PGM_COMMON_INI::reload(); }
    void TearDown() override { PGM_COMMON_INI::reload(); }

    // Parses `xml` written to a scratch file; nullptr when parse reports false.
    DOCUMENT parse_text(const std::string& xml)
    {
        write_file(dir.file("in.zeb"), xml);
        return parse_path(dir.file("in.zeb"));
    }
    DOCUMENT parse_path(const std::string& path)
    {
        PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
        const bool ok = ZEB_UTIL::parse(&raw, path);
        DOCUMENT document(raw);
        return ok ? std::move(document) : nullptr;
    }
    static const PGM_COMMON_XML_ZEB_PARTITION* partition(const PGM_COMMON_XML_ZEB_ZEB* document, uint32_t index)
    {
        return static_cast<const PGM_COMMON_XML_ZEB_PARTITION*>(
            document->get_element(PGM_COMMON_XML_ENUM_ZEB_PARTITION, index, true));
    }

    SCRATCH_DIR dir;
    MSG_CAPTURE_SINK messages;
};

// A flash device with the given partitions, as XML.
std::string document_with_partitions(const std::string& partitions)
{
    return "<zeb><flash_devices><flash_device type='VQ256A' id='FD'>" + partitions +
           "</flash_device></flash_devices></zeb>";
}

std::string output_file_document(const std::string& type)
{
    return "<zeb version='7'><settings mode='ASX4'/><output_files><output_file name='out' directory='.' type='" + type +
           "'/></output_files></zeb>";
}

// The element library's reasons are proven by its own tests; here each kind of failure reaches the
// user as one message that names the file, and the document pointer is cleared. The oversized file
// is sparse: it is refused from its size, without being read.
TEST_F(ZebUtilFile, BadInputsAreReportedWithTheReason)
{
    struct CASE
    {
        const char* content; // nullptr: no file
        uint64_t size;       // the file is grown to this size; 0: as written
        const char* reason;
    };
    const CASE cases[] = {
        {nullptr, 0, ""},
        {"", 0, "the file is empty"},
        {"PK\x03\x04 binary garbage", 0, "line 1"},
        {"<zeb>\n\n<settings mode='ASX8'/></zeb>", 0, "line 3"},
        {"<zeb><settings mode='PS' custom_db_dir='", 100 << 20, "larger than the largest file accepted"},
    };
    const std::string path = dir.file("in.zeb");
    for (const CASE& c : cases)
    {
        messages.clear();
        std::filesystem::remove(path);
        if (c.content)
            write_file(path, c.content);
        if (c.size)
            std::filesystem::resize_file(path, c.size);
        PGM_COMMON_XML_ZEB_ZEB* raw = reinterpret_cast<PGM_COMMON_XML_ZEB_ZEB*>(0x1);
        EXPECT_FALSE(ZEB_UTIL::parse(&raw, path)) << c.reason;
        EXPECT_EQ(raw, nullptr);
        ASSERT_EQ(messages.messages().size(), 1u) << c.reason;
        const MSG_POSTED& posted = messages.messages()[0];
        EXPECT_EQ(posted.identifier, c.content ? "EZEB_CORRUPTED_FILE_WITH_REASON" : "EZEB_FILE_IO_ERROR");
        EXPECT_EQ(
            posted.text.rfind(c.content ? "File " + path + " is corrupted. " : "Can't save or open file " + path, 0),
            0u)
            << posted.text;
        EXPECT_NE(posted.text.find(c.reason), std::string::npos) << posted.text;
    }
    // Every invalid sample of the schema tests is refused the same way.
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(source_file("tests/xsd")))
    {
        if (entry.path().filename().string().rfind("invalid_", 0) != 0)
            continue;
        ++count;
        messages.clear();
        EXPECT_FALSE(parse_path(entry.path().string())) << entry.path();
        EXPECT_EQ(messages.count("EZEB_CORRUPTED_FILE_WITH_REASON"), 1u) << entry.path();
    }
    EXPECT_GT(count, 10u);
}

TEST_F(ZebUtilFile, FactoryImageEndingAutomaticallyGetsRoomForTheUpdateImage)
{
    struct CASE
    {
        const char* id;
        const char* e_addr;
        const char* extra_space; // nullptr: attribute absent
        uint32_t expected;
    };
    const CASE cases[] = {
        {"FACTORY_IMAGE", "auto", "262143", 0x40000}, // 0x3FFFF is raised
        {"FACTORY_IMAGE", "auto", nullptr, 0x40000},  // absent means 0
        {"FACTORY_IMAGE", "auto", "262144", 0x40000}, // 0x40000 stays
        {"FACTORY_IMAGE", "auto", "262145", 0x40001}, // more stays
        {"FACTORY_IMAGE", "AUTO", "0", 0},            // the keyword is lower case
        {"FACTORY_IMAGE", "0x00FFFFFF", "0", 0},      // a fixed end needs nothing
        {"FACTORY_IMAGE_2", "auto", "0", 0},          // a longer id is another partition
        {"factory_image", "auto", "0", 0},            // ids compare case-sensitively
    };
    for (const CASE& c : cases)
    {
        const std::string extra = c.extra_space ? std::string(" extra_space='") + c.extra_space + "'" : "";
        DOCUMENT document = parse_text(document_with_partitions(
            std::string("<partition id='") + c.id + "' s_addr='auto' e_addr='" + c.e_addr + "'" + extra + "/>"));
        ASSERT_TRUE(document) << c.id;
        EXPECT_EQ(partition(document.get(), 0)->get_extra_space(), c.expected) << c.id << " " << c.e_addr;
    }
    // Only the first factory image of each device is raised.
    DOCUMENT document = parse_text(
        "<zeb><flash_devices>"
        "<flash_device type='VQ256A' id='A'><partition id='BOOT_INFO' s_addr='0' e_addr='0x3FFFF'/>"
        "<partition id='FACTORY_IMAGE' s_addr='auto' e_addr='0x10000'/>"
        "<partition id='FACTORY_IMAGE' s_addr='auto' e_addr='auto'/></flash_device>"
        "<flash_device type='VQ64A' id='B'><partition id='FACTORY_IMAGE' s_addr='auto' e_addr='auto'/></flash_device>"
        "</flash_devices></zeb>");
    ASSERT_TRUE(document);
    EXPECT_EQ(partition(document.get(), 1)->get_extra_space(), 0u);
    EXPECT_EQ(partition(document.get(), 2)->get_extra_space(), 0u); // not the first of device A
    EXPECT_EQ(partition(document.get(), 3)->get_extra_space(), 0x40000u);
}

// Saving writes version 1 whatever was read, says so, and a saved document read and saved again
// gives the same text that the schema accepts, with every element kept. An older document names the
// helper image by its former name, which reads as the current one.
TEST_F(ZebUtilFile, SaveIsValidAndStableAcrossRoundTrips)
{
    const std::string v7 = dir.file("v7.zeb");
    write_file(v7, "<zeb version='7'><settings mode='ASX4'/><output_files><output_file name='o' directory='.' "
                   "type='JIC'><secondary_file type='QSPI_HELPER_RBF' name='h'/><secondary_file type='MAP' "
                   "name='m'/></output_file></output_files></zeb>");
    for (const std::string& source : {v7, source_file("examples/full.zeb"), source_file("examples/minimal.zeb")})
    {
        DOCUMENT document = parse_path(source);
        ASSERT_TRUE(document) << source;
        const std::string saved = dir.file("saved.zeb");
        ASSERT_TRUE(ZEB_UTIL::save(document.get(), saved)) << source;
        EXPECT_EQ(messages.messages().back().text, "Saved Corvane Setup File " + saved);
        const std::string text = read_file(saved);
        EXPECT_NE(text.find("<zeb version=\"1\">"), std::string::npos) << text;
        EXPECT_TRUE(source != v7 || (text.find("type=\"HELPER_RBF\" name=\"h\"") != std::string::npos &&
                                     text.find("type=\"MAP\" name=\"m\"") != std::string::npos))
            << text;
        std::string error;
        std::string detail;
        EXPECT_TRUE(PGM_COMMON_XML::check_xsd(saved, ZEB_UTIL::get_xsd_file(), error, detail)) << detail;
        DOCUMENT reread = parse_path(saved);
        ASSERT_TRUE(reread);
        ASSERT_TRUE(ZEB_UTIL::save(reread.get(), dir.file("again.zeb")));
        EXPECT_EQ(read_file(dir.file("again.zeb")), text) << source;
        EXPECT_EQ(reread->get_child_count(PGM_COMMON_XML_ENUM__INVALID__, true),
                  document->get_child_count(PGM_COMMON_XML_ENUM__INVALID__, true));
    }
}

TEST_F(ZebUtilFile, CommandLineOnlyTypeIsSavedOnlyWhenTheSwitchAllowsIt)
{
    const std::pair<const char*, const char*> types[] = {{"SOF", "sof"}, {"JAM", "jam"}, {"JBC", "jbc"},
                                                         {"SVF", "svf"}, {"EKP", "ekp"}, {"HELPER_RBF_CMD", "rbf"}};
    for (const auto& [type, extension] : types)
    {
        DOCUMENT document = parse_text(output_file_document(type));
        ASSERT_TRUE(document) << type;
        const std::string target = dir.file(std::string(type) + ".zeb");
        messages.clear();
        EXPECT_TRUE(ZEB_UTIL::save(document.get(), target));
        EXPECT_FALSE(std::filesystem::exists(target)) << type;
        ASSERT_EQ(messages.count("WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE"), 1u) << type;
        EXPECT_EQ(messages.messages()[0].kind, MSG_KIND_WARNING);
        EXPECT_NE(messages.messages()[0].text.find(std::string("for output file type ") + extension + ". "),
                  std::string::npos)
            << messages.messages()[0].text;

        PGM_COMMON_INI::set_value("ZEB_ALWAYS_ALLOW_SAVE_FILE", "ON");
        EXPECT_TRUE(ZEB_UTIL::save(document.get(), target));
        EXPECT_TRUE(std::filesystem::exists(target)) << type;
        PGM_COMMON_INI::clear_value("ZEB_ALWAYS_ALLOW_SAVE_FILE");
    }
    // Only the first output file decides.
    DOCUMENT mixed = parse_text("<zeb><output_files><output_file name='a' directory='.' type='RBF'/>"
                                "<output_file name='b' directory='.' type='SOF'/></output_files></zeb>");
    ASSERT_TRUE(mixed);
    EXPECT_TRUE(ZEB_UTIL::save(mixed.get(), dir.file("mixed.zeb")));
    EXPECT_TRUE(std::filesystem::exists(dir.file("mixed.zeb")));
}

TEST_F(ZebUtilFile, FailedSaveReportsAndLeavesNothingBehind)
{
    DOCUMENT document = parse_text(output_file_document("RBF"));
    ASSERT_TRUE(document);

    // A directory that does not exist, and a "directory" that is a file.
    write_file(dir.file("plain"), "x");
    for (const std::string& target : {dir.file("missing/out.zeb"), dir.file("plain/out.zeb")})
    {
        messages.clear();
        EXPECT_FALSE(ZEB_UTIL::save(document.get(), target));
        ASSERT_EQ(messages.count("EZEB_FILE_IO_ERROR"), 1u) << target;
        EXPECT_EQ(messages.messages()[0].text, "Can't save or open file " + target);
    }

    // A target that cannot be replaced keeps what it was, and no temporary file stays beside it.
    std::filesystem::create_directory(dir.file("occupied.zeb"));
    write_file(dir.file("occupied.zeb/keep"), "keep");
    messages.clear();
    EXPECT_FALSE(ZEB_UTIL::save(document.get(), dir.file("occupied.zeb")));
    EXPECT_EQ(messages.count("EZEB_FILE_IO_ERROR"), 1u);
    EXPECT_EQ(read_file(dir.file("occupied.zeb/keep")), "keep");
    size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path()))
        ++entries;
    EXPECT_EQ(entries, 3u); // in.zeb, plain, occupied.zeb
}

} // namespace
