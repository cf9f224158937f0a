// SPDX-License-Identifier: Apache-2.0
// Setup documents a hostile or careless user writes: each is refused with a message that names what
// is wrong, never with an internal error, and nothing is read through an entity.
#include "test_support.h"

#include "pgm/zeb/zeb_util.h"

#include <filesystem>

namespace
{

std::string doc(const std::string& body, const std::string& doctype = "")
{
    return "<?xml version=\"1.0\"?>\n" + doctype + "<zeb version=\"1\"><settings mode=\"ASX4\"/>\n" + body + "</zeb>\n";
}
std::string inputs(const std::string& path, const std::string& second = "")
{
    return "<bitstreams><bitstream id=\"B\"><path>" + path + "</path>" + second + "</bitstream></bitstreams>";
}
std::string out(const std::string& type)
{
    return "<output_files><output_file name=\"out\" directory=\".\" type=\"" + type +
           "\"><bitstream_id>B</bitstream_id></output_file></output_files>";
}
std::string jic(const std::string& s_addr, const std::string& mbr = "")
{
    return inputs("design.sof") + "<flash_devices><flash_loader>7TR440PA3R1</flash_loader><flash_device type=\"VQ256A\" "
           "id=\"F\"><partition id=\"P1\" s_addr=\"" + s_addr + "\" e_addr=\"auto\"/>" + mbr +
           "</flash_device></flash_devices>" + out("JIC");
}
std::string laughs()
{
    std::string doctype = "<!DOCTYPE zeb [<!ENTITY a0 \"ha ha ha\">";
    for (int i = 1; i < 10; ++i)
    {
        std::string ten;
        for (int j = 0; j < 10; ++j)
            ten += "&a" + std::to_string(i - 1) + ";";
        doctype += "<!ENTITY a" + std::to_string(i) + " \"" + ten + "\">";
    }
    return doc(inputs("&a9;.sof"), doctype + "]>\n");
}

struct HOSTILE_DOCUMENT
{
    std::string text;
    const char* arguments; // corvane arguments after the document; nullptr: the library reads it
    const char* expected;  // part of the message
};

const HOSTILE_DOCUMENT k_documents[] = {
    {doc(inputs("&e;"), "<!DOCTYPE zeb [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>\n"), nullptr,
     "the external entity \"file:///etc/passwd\" is not read"},
    {doc(inputs("x&u;.sof"), "<!DOCTYPE zeb SYSTEM \"zeb.dtd\">\n"), nullptr, "Entity 'u' not defined"},
    {laughs(), nullptr, "entity reference loop"},
    {doc(inputs(std::string(70000, 'a'))), nullptr, "line 3: a text of element \"path\" is longer than 65536 bytes"},
    {doc(inputs("design.sof")), "--no-check --save saved.zeb", "the document has no output_file element"},
    {doc(jic("0x00040000", "<mbr id=\"M\" type=\"FAT32\" s_addr=\"0x01000000\" e_addr=\"0x01FFFFFF\"/>")), "--check",
     "flash_device id=\"F\" has an mbr element (id=\"M\")"},
    {doc(jic("")), "--check --json", "Address s_addr='' of partition P1"},
    {doc(jic("0x100040000")), "--no-check --layout out.svg", "it would be read as a number beyond 32 bits"},
    {doc(inputs("design.xyz") + out("RBF")), "--check", "path \"design.xyz\" of bitstream id=\"B\" is not an input"},
    {doc(inputs("folder") + out("RBF")), "", "path \"folder\" of bitstream id=\"B\" is not an input of a known kind"},
    {doc(inputs("design.sof", "<path>design.sof</path>") + out("JAM")), "--check",
     "output_file name=\"out\" type=\"JAM\" is written from exactly one input, but the document has 2"},
};

TEST(HostileDocuments, AreRefusedWithAMessageThatNamesTheProblem)
{
    corvane_test::SCRATCH_CWD cwd;
    std::filesystem::create_directory("folder");
    ASSERT_EQ(corvane_test::corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    for (const HOSTILE_DOCUMENT& row : k_documents)
    {
        corvane_test::write_file("hostile.zeb", row.text);
        std::string said;
        if (row.arguments)
        {
            const corvane_test::PROGRAM_RUN run = corvane_test::corvane(std::string("hostile.zeb ") + row.arguments);
            EXPECT_EQ(run.status, 1) << row.expected << ": " << run.output();
            said = run.output();
        }
        else
        {
            MSG_CAPTURE_SINK capture;
            PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
            EXPECT_FALSE(ZEB_UTIL::parse(&parsed, "hostile.zeb")) << row.expected;
            delete parsed;
            said = capture.messages().empty() ? "" : capture.messages().front().text;
        }
        EXPECT_NE(said.find(row.expected), std::string::npos) << row.expected << ": " << said;
        EXPECT_FALSE(std::filesystem::exists("saved.zeb") || std::filesystem::exists("out.svg")) << row.expected;
    }
    // An entity of the document's own declarations is expanded.
    corvane_test::write_file("entity.zeb", doc(inputs("&d;"), "<!DOCTYPE zeb [<!ENTITY d \"design.sof\">]>\n"));
    PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
    ASSERT_TRUE(ZEB_UTIL::parse(&parsed, "entity.zeb"));
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> owned(parsed);
    const auto paths = owned->get_childs(PGM_COMMON_XML_ENUM_ZEB_PATH, true);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths.front()->get_text_value(), "design.sof");
}

} // namespace
