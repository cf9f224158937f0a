// SPDX-License-Identifier: Apache-2.0
// Element library and the setup document's element classes: defaults, attribute order, child
// counts, child grouping, parsing errors and writing.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h"
#include "test_support.h"

#include <filesystem>
#include <memory>
#include <sstream>

namespace
{

using corvane_test::SCRATCH_DIR;
using corvane_test::source_file;
using corvane_test::write_file;

std::string written(const PGM_COMMON_XML_ELEMENT* element)
{
    std::ostringstream out;
    PGM_COMMON_XML::write_xml_element(out, element);
    return out.str();
}

// Parses `xml` through a scratch file; returns the tree (nullptr on failure) and the error text.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> parse_text(const std::string& xml, std::string& error)
{
    SCRATCH_DIR dir;
    const std::string path = dir.file("doc.zeb");
    write_file(path, xml);
    return std::unique_ptr<PGM_COMMON_XML_ELEMENT>(PGM_COMMON_XML::parse_xml(path, PGM_COMMON_XML_ZEB_DOCUMENT, error));
}

// Parsed without attributes, file options take their defaults; attributes are written in the order
// they are declared, not read, and only those required or given.
TEST(XmlElementAttributes, DefaultsAndWrittenOrder)
{
    std::string error;
    auto tree = parse_text("<zeb><raw_files><raw_file id='r1' type='HEX' bitswap='true'>data.hex</raw_file>"
                           "</raw_files><output_files><output_file name='a' directory='.' type='RPD'>"
                           "<file_options/></output_file></output_files></zeb>",
                           error);
    ASSERT_TRUE(tree) << error;
    const PGM_COMMON_XML_ELEMENT* options = tree->get_element(PGM_COMMON_XML_ENUM_ZEB_FILE_OPTIONS, 0, true);
    ASSERT_NE(options, nullptr);
    const std::pair<const char*, const char*> defaults[] = {
        {"direction", "UP"}, {"s_addr", "0"}, {"frequency", "6MHz"}, {"voltage", "3_3V"}, {"operation", "P"}};
    for (const auto& [attribute, value] : defaults)
        EXPECT_EQ(options->get_attribute_text(attribute), value);
    EXPECT_EQ(written(tree->get_element(PGM_COMMON_XML_ENUM_ZEB_RAW_FILE, 0, true)),
              "<raw_file bitswap=\"true\" type=\"HEX\" id=\"r1\">data.hex</raw_file>");
    PGM_COMMON_XML_ZEB_PARTITION partition;
    ASSERT_TRUE(partition.write_attribute_string("id", "P1"));
    ASSERT_TRUE(partition.write_attribute_value("size", 4096));
    EXPECT_EQ(written(&partition), "<partition s_addr=\"\" e_addr=\"\" id=\"P1\" size=\"4096\"/>");
}

TEST(XmlElementAttributes, WritesAreCheckedAgainstTypeAndList)
{
    PGM_COMMON_XML_ZEB_SETTINGS settings;
    EXPECT_TRUE(settings.write_attribute_enum("mode", PGM_COMMON_XML_ENUM_ASX4));
    EXPECT_EQ(settings.get_mode(), PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(settings.write_attribute_enum("mode", PGM_COMMON_XML_ENUM_RBF)); // not a mode
    EXPECT_FALSE(settings.write_attribute_string("mode", "asx4"));                // names are case-sensitive
    EXPECT_EQ(settings.get_mode(), PGM_COMMON_XML_ENUM_ASX4);
    EXPECT_FALSE(settings.write_attribute_string("no_such_attribute", "x"));

    PGM_COMMON_XML_ZEB_PARTITION partition;
    EXPECT_FALSE(partition.write_attribute_string("size", "0x10"));
    EXPECT_FALSE(partition.write_attribute_string("size", "4294967296"));
    EXPECT_TRUE(partition.write_attribute_string("size", "4294967295"));
    EXPECT_EQ(partition.get_size(), 4294967295u);
    EXPECT_TRUE(partition.write_attribute_value("reserved", 1));
    EXPECT_TRUE(partition.get_reserved());
    EXPECT_TRUE(partition.is_attribute_empty("s_addr"));
    EXPECT_FALSE(partition.is_attribute_empty("size"));
}

TEST(XmlElementAttributes, SpecialCharactersSurviveAWriteReadRoundTrip)
{
    PGM_COMMON_XML_ZEB_ZEB root;
    auto* bitstreams = new PGM_COMMON_XML_ZEB_BITSTREAMS;
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(&root, bitstreams));
    auto* bitstream = new PGM_COMMON_XML_ZEB_BITSTREAM;
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(bitstreams, bitstream));
    const std::string tricky = "a \"quoted\" <tag> & 'apostrophe'\tand\nnew line";
    ASSERT_TRUE(bitstream->write_attribute_string("id", tricky));
    auto* path = new PGM_COMMON_XML_ZEB_PATH;
    ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(bitstream, path));
    ASSERT_TRUE(path->write_string("dir with <angle> & amp/design.sof"));

    std::string error;
    const auto back = parse_text(written(&root), error);
    ASSERT_TRUE(back) << error;
    auto* read_bitstream =
        static_cast<PGM_COMMON_XML_ZEB_BITSTREAM*>(back->get_element(PGM_COMMON_XML_ENUM_ZEB_BITSTREAM, 0, true));
    auto* read_path = static_cast<PGM_COMMON_XML_ZEB_PATH*>(back->get_element(PGM_COMMON_XML_ENUM_ZEB_PATH, 0, true));
    ASSERT_TRUE(read_bitstream && read_path);
    EXPECT_EQ(read_bitstream->get_id(), tricky);
    EXPECT_EQ(read_path->get_text(), "dir with <angle> & amp/design.sof");
}

TEST(XmlElementChildren, UnsupportedChildIsRejectedWithItsMessage)
{
    PGM_COMMON_XML_ZEB_SECONDARY_FILE secondary;
    auto partition = std::make_unique<PGM_COMMON_XML_ZEB_PARTITION>();
    std::string error;
    EXPECT_FALSE(PGM_COMMON_XML_ELEMENT::add_child(&secondary, partition.get(), &error));
    EXPECT_EQ(error, "Element \"secondary_file\" does not support child element \"partition\"");
    EXPECT_FALSE(secondary.group_child(partition.get(), false, true, &error));
    EXPECT_EQ(partition->get_parent(), nullptr); // ownership stayed with the caller

    PGM_COMMON_XML_ZEB_PATH leaf;
    EXPECT_FALSE(leaf.group_child(partition.get(), false, false, &error));
    EXPECT_EQ(error, "Element \"path\" does not support child element \"partition\"");
}

TEST(XmlElementChildren, GroupChildFrontAndBack)
{
    PGM_COMMON_XML_ZEB_RAW_FILES files;
    PGM_COMMON_XML_ZEB_RAW_FILE a;
    PGM_COMMON_XML_ZEB_RAW_FILE b;
    PGM_COMMON_XML_ZEB_RAW_FILE c;
    ASSERT_TRUE(files.group_child(&a, false, true));
    ASSERT_TRUE(files.group_child(&b, false, true));
    ASSERT_TRUE(files.group_child(&c, false, false)); // without the position flag: at the front
    EXPECT_EQ(files.get_raw_file_list(), (std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*>{&c, &a, &b}));
    ASSERT_TRUE(files.group_child(&a, true, false)); // drops the first entry
    EXPECT_EQ(files.get_raw_file_list(), (std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*>{&a, &b}));
    ASSERT_TRUE(files.group_child(&a, true, true)); // drops the last entry
    EXPECT_EQ(files.get_raw_file_list(), (std::vector<PGM_COMMON_XML_ZEB_RAW_FILE*>{&a}));
    files.clear_children();
    EXPECT_TRUE(files.get_raw_file_list().empty());
}

TEST(XmlElementChildren, ChildrenKeepCanonicalOrderAndViewsFollowRemoval)
{
    PGM_COMMON_XML_ZEB_OUTPUT_FILE output;
    auto* bitstream_id = new PGM_COMMON_XML_ZEB_BITSTREAM_ID;
    auto* first = new PGM_COMMON_XML_ZEB_SECONDARY_FILE;
    auto* options = new PGM_COMMON_XML_ZEB_FILE_OPTIONS;
    auto* second = new PGM_COMMON_XML_ZEB_SECONDARY_FILE;
    for (PGM_COMMON_XML_ELEMENT* child :
         std::initializer_list<PGM_COMMON_XML_ELEMENT*>{bitstream_id, first, options, second})
        ASSERT_TRUE(PGM_COMMON_XML_ELEMENT::add_child(&output, child));
    EXPECT_EQ(output.children(), (std::vector<PGM_COMMON_XML_ELEMENT*>{options, first, second, bitstream_id}));
    EXPECT_EQ(output.get_secondary_file_list(), (std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*>{first, second}));
    EXPECT_EQ(output.get_element(PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, 1, false), second);
    EXPECT_EQ(output.get_element(PGM_COMMON_XML_ENUM_ZEB_SECONDARY_FILE, 2, false), nullptr);

    ASSERT_TRUE(output.remove_child(first, true));
    EXPECT_EQ(output.get_secondary_file_list(), (std::vector<PGM_COMMON_XML_ZEB_SECONDARY_FILE*>{second}));
    EXPECT_EQ(output.get_child_count(PGM_COMMON_XML_ENUM__INVALID__, false), 3u);
    EXPECT_FALSE(output.remove_child(first, false)); // already gone

    ASSERT_TRUE(output.remove_child(bitstream_id, false));
    EXPECT_TRUE(output.get_bitstream_id_list().empty());
    EXPECT_EQ(bitstream_id->get_parent(), nullptr);
    delete bitstream_id;
}

TEST(XmlElementChildren, RecursiveSearchIsDepthFirstInDocumentOrder)
{
    std::string error;
    auto tree = parse_text("<zeb><flash_devices>"
                           "<flash_device type='VQ256A' id='A'><partition id='A1' s_addr='0' e_addr='1'/>"
                           "<mbr id='M' type='t' s_addr='0' e_addr='1'><partition id='A2' s_addr='0' e_addr='1'/></mbr>"
                           "</flash_device>"
                           "<flash_device type='VQ64A' id='B'><partition id='B1' s_addr='0' e_addr='1'/></flash_device>"
                           "</flash_devices></zeb>",
                           error);
    ASSERT_TRUE(tree) << error;
    std::vector<std::string> ids;
    for (const PGM_COMMON_XML_ELEMENT* partition : tree->get_childs(PGM_COMMON_XML_ENUM_ZEB_PARTITION, true))
        ids.push_back(partition->get_attribute_text("id"));
    EXPECT_EQ(ids, (std::vector<std::string>{"A1", "A2", "B1"}));
    EXPECT_EQ(tree->get_child_count(PGM_COMMON_XML_ENUM_ZEB_PARTITION, false), 0u);
    EXPECT_EQ(tree->get_element(PGM_COMMON_XML_ENUM_ZEB_PARTITION, 2, true)->get_attribute_text("id"), "B1");
}

TEST(XmlParse, ErrorsNameTheProblemAndTheLine)
{
    struct CASE
    {
        const char* xml;
        const char* expected;
    };
    const CASE cases[] = {
        {"<zeb>\n<raw_files>\n<raw_file id='r'>x.hex</raw_file></raw_files></zeb>",
         "line 3: element \"raw_file\" misses the required attribute \"type\""},
        {"<zeb>\n<settings mode='FAST'/></zeb>", "line 2: element \"settings\": attribute \"mode\" must be one of"},
        {"<zeb>\n\n<gadget/></zeb>", "line 3: unknown element \"gadget\""},
        {"<zeb>\n<raw_files>\n<partition id='p' s_addr='0' e_addr='1'/></raw_files></zeb>",
         "line 3: Element \"raw_files\" does not support child element \"partition\""},
        {"<zeb><settings mode='PS' colour='red'/></zeb>", "element \"settings\" has no attribute \"colour\""},
        {"<zeb><bitstreams><bitstream id='b'><path></path></bitstream></bitstreams></zeb>",
         "element \"path\" needs a text"},
        {"<zeb><settings mode='PS'>text</settings></zeb>", "element \"settings\" does not take a text"},
        {"<zeb><output_files><output_file name='a' directory='.' type='RBF'><bitstream_id>b</bitstream_id>"
         "<bitstream_id>c</bitstream_id></output_file></output_files></zeb>",
         "\"output_file\" has 2 \"bitstream_id\" child elements; allowed: 0 or 1"},
        {"<zeb><flash_devices><flash_device type='VQ256A' id='F'><mbr id='1' type='t' s_addr='0' e_addr='1'/>"
         "<mbr id='2' type='t' s_addr='0' e_addr='1'/><mbr id='3' type='t' s_addr='0' e_addr='1'/>"
         "<mbr id='4' type='t' s_addr='0' e_addr='1'/><mbr id='5' type='t' s_addr='0' e_addr='1'/>"
         "</flash_device></flash_devices></zeb>",
         "Element \"flash_device\" has 5 \"mbr\" child elements; allowed: 0, 1, 2, 3 or 4"},
        {"<setup/>", "the root element must be \"zeb\""},
        {"<zeb><settings mode='PS'>", "line 1:"},
        {"<zeb><assignments><assignment partition_id='p' page='-1'/></assignments></zeb>",
         "attribute \"page\" must be a decimal number"},
    };
    for (const CASE& c : cases)
    {
        std::string error;
        EXPECT_FALSE(parse_text(c.xml, error)) << c.xml;
        EXPECT_NE(error.find(c.expected), std::string::npos) << "got: " << error << "\nwanted: " << c.expected;
    }
}

// Empty documents are refused by the setup-document tests.
TEST(XmlParse, MissingFilesAndDirectoriesAreRefused)
{
    SCRATCH_DIR dir;
    std::string error;
    EXPECT_EQ(PGM_COMMON_XML::parse_xml(dir.file("none.zeb"), PGM_COMMON_XML_ZEB_DOCUMENT, error), nullptr);
    EXPECT_NE(error.find("cannot open"), std::string::npos) << error;
    EXPECT_EQ(PGM_COMMON_XML::parse_xml(dir.path().string(), PGM_COMMON_XML_ZEB_DOCUMENT, error), nullptr);
    EXPECT_NE(error.find("is a directory"), std::string::npos) << error;
}

TEST(XmlSchema, EveryValidSampleIsAlsoAcceptedByTheElementLibrary)
{
    // The schema and the element classes describe the same document; a file that one accepts and
    // the other refuses would turn a user's valid file into an internal error.
    std::vector<std::string> files = {source_file("examples/full.zeb"), source_file("examples/minimal.zeb")};
    for (const auto& entry : std::filesystem::directory_iterator(source_file("tests/xsd")))
    {
        if (entry.path().filename().string().rfind("valid_", 0) == 0)
            files.push_back(entry.path().string());
    }
    ASSERT_GT(files.size(), 5u);
    for (const std::string& file : files)
    {
        std::string error;
        std::string detail;
        EXPECT_TRUE(PGM_COMMON_XML::check_xsd(file, source_file("xsd/zeb.xsd"), error, detail))
            << file << ": " << detail;
        std::unique_ptr<PGM_COMMON_XML_ELEMENT> tree(
            PGM_COMMON_XML::parse_xml(file, PGM_COMMON_XML_ZEB_DOCUMENT, error));
        EXPECT_TRUE(tree) << file << ": " << error;
    }
}

TEST(XmlSchema, ProblemsAreReportedWithTheirLine)
{
    SCRATCH_DIR dir;
    write_file(dir.file("bad.zeb"), "<zeb>\n  <settings mode='PS'/>\n  <settings mode='FAST'/>\n</zeb>\n");
    std::string error;
    std::string detail;
    EXPECT_FALSE(PGM_COMMON_XML::check_xsd(dir.file("bad.zeb"), source_file("xsd/zeb.xsd"), error, detail));
    EXPECT_EQ(error.rfind("line 3: ", 0), 0u) << error;
    EXPECT_NE(error.find("settings"), std::string::npos) << error;

    EXPECT_FALSE(PGM_COMMON_XML::check_xsd(dir.file("bad.zeb"), dir.file("missing.xsd"), error, detail));
    EXPECT_NE(error.find("missing.xsd"), std::string::npos) << error;
}

} // namespace
