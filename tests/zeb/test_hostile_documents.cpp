// SPDX-License-Identifier: Apache-2.0
// Setup documents a hostile or careless user writes: each is refused with a message that names what
// is wrong, never with an internal error, and nothing is read through an entity.
#include "test_support.h"

#include "pgm/zeb/zeb_util.h"

#include <filesystem>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

using corvane_test::corvane;

// A document around `body`, after an optional document type declaration.
std::string document(const std::string& body, const std::string& doctype = "")
{
    return "<?xml version=\"1.0\"?>\n" + doctype + "<zeb version=\"1\"><settings mode=\"ASX4\"/>\n" + body + "</zeb>\n";
}

std::string bitstream(const std::string& path, const std::string& id = "B")
{
    return "<bitstream id=\"" + id + "\"><path>" + path + "</path></bitstream>";
}

std::string output(const std::string& type, const std::string& input = "B", const std::string& name = "out")
{
    return "<output_file name=\"" + name + "\" directory=\".\" type=\"" + type + "\"><bitstream_id>" + input +
           "</bitstream_id></output_file>";
}

std::string flash(const std::string& s_addr, const std::string& extra = "")
{
    return "<flash_devices><flash_loader>7TR440PA3R1</flash_loader><flash_device type=\"VQ256A\" id=\"F\">"
           "<partition id=\"P1\" s_addr=\"" + s_addr + "\" e_addr=\"auto\"/>" + extra + "</flash_device></flash_devices>";
}

std::string billion_laughs()
{
    std::string doctype = "<!DOCTYPE zeb [<!ENTITY a0 \"laugh laugh laugh\">";
    for (int i = 1; i < 10; ++i)
        doctype += "<!ENTITY a" + std::to_string(i) + " \"" + [&] {
            std::string ten;
            for (int j = 0; j < 10; ++j)
                ten += "&a" + std::to_string(i - 1) + ";";
            return ten;
        }() + "\">";
    return document("<bitstreams>" + bitstream("&a9;.sof") + "</bitstreams>", doctype + "]>\n");
}

const std::string k_one_input = "<bitstreams>" + bitstream("design.sof") + "</bitstreams>";

struct HOSTILE_DOCUMENT
{
    const char* name;
    std::string text;
    const char* arguments; // corvane arguments after the document; nullptr: the library reads it
    const char* expected;  // part of the message
};

const HOSTILE_DOCUMENT k_documents[] = {
    {"external entity", document("<bitstreams>" + bitstream("&e;") + "</bitstreams>",
                                 "<!DOCTYPE zeb [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>\n"),
     nullptr, "the external entity \"file:///etc/passwd\" is not read"},
    {"undeclared entity after an external DTD", document("<bitstreams>" + bitstream("x&u;.sof") + "</bitstreams>",
                                                         "<!DOCTYPE zeb SYSTEM \"zeb.dtd\">\n"),
     nullptr, "Entity 'u' not defined"},
    {"billion laughs", billion_laughs(), nullptr, "entity reference loop"},
    {"text over 64 KiB", document("<bitstreams>" + bitstream(std::string(70000, 'a') + ".sof") + "</bitstreams>"),
     nullptr, "line 3: a text of element \"path\" is longer than 65536 bytes"},
    {"save without output files", document(k_one_input), "--no-check --save saved.zeb",
     "the document has no output_file element"},
    {"mbr", document(k_one_input + flash("0x00040000", "<mbr id=\"M\" type=\"FAT32\" s_addr=\"0x01000000\" "
                                                       "e_addr=\"0x01FFFFFF\"/>") +
                     "<output_files>" + output("JIC") + "</output_files>"),
     "--check", "flash_device id=\"F\" has an mbr element (id=\"M\")"},
    {"empty address", document(k_one_input + flash("") + "<output_files>" + output("JIC") + "</output_files>"),
     "--check --json", "Address s_addr='' of partition P1"},
    {"address beyond 32 bits",
     document(k_one_input + flash("0x100040000") + "<output_files>" + output("JIC") + "</output_files>"),
     "--no-check --layout out.svg", "it would be read as a number beyond 32 bits"},
    {"input of no known kind",
     document("<bitstreams>" + bitstream("design.xyz") + "</bitstreams><output_files>" + output("RBF") +
              "</output_files>"),
     "--check", "path \"design.xyz\" of bitstream id=\"B\" is not an input of a known kind"},
    {"directory as input", document("<bitstreams>" + bitstream("folder") + "</bitstreams><output_files>" +
                                    output("RBF") + "</output_files>"),
     "", "path \"folder\" of bitstream id=\"B\" is not an input of a known kind"},
    {"player file from two inputs",
     document("<bitstreams>" + bitstream("design.sof") + bitstream("design.sof", "C") + "</bitstreams><output_files>" +
              output("JAM") + "</output_files>"),
     "--check", "output_file name=\"out\" type=\"JAM\" is written from exactly one input, but the document has 2"},
};

TEST(HostileDocuments, AreRefusedWithAMessageThatNamesTheProblem)
{
    corvane_test::SCRATCH_CWD cwd;
    std::filesystem::create_directory("folder");
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    for (const HOSTILE_DOCUMENT& row : k_documents)
    {
        corvane_test::write_file("hostile.zeb", row.text);
        if (!row.arguments)
        {
            MSG_CAPTURE_SINK capture;
            PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
            EXPECT_FALSE(ZEB_UTIL::parse(&parsed, "hostile.zeb")) << row.name;
            delete parsed;
            ASSERT_FALSE(capture.messages().empty()) << row.name;
            EXPECT_NE(capture.messages().front().text.find(row.expected), std::string::npos)
                << row.name << ": " << capture.messages().front().text;
            continue;
        }
        const corvane_test::PROGRAM_RUN run = corvane(std::string("hostile.zeb ") + row.arguments);
        EXPECT_EQ(run.status, 1) << row.name << ": " << run.output();
        EXPECT_NE(run.output().find(row.expected), std::string::npos) << row.name << ": " << run.output();
        EXPECT_FALSE(std::filesystem::exists("saved.zeb") || std::filesystem::exists("out.svg")) << row.name;
    }
}

TEST(HostileDocuments, InternalEntitiesAreExpanded)
{
    corvane_test::SCRATCH_CWD cwd;
    corvane_test::write_file("entity.zeb", document("<bitstreams>" + bitstream("&d;") + "</bitstreams>",
                                                    "<!DOCTYPE zeb [<!ENTITY d \"design.sof\">]>\n"));
    PGM_COMMON_XML_ZEB_ZEB* parsed = nullptr;
    ASSERT_TRUE(ZEB_UTIL::parse(&parsed, "entity.zeb"));
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> owned(parsed);
    const auto paths = owned->get_childs(PGM_COMMON_XML_ENUM_ZEB_PATH, true);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths.front()->get_text_value(), "design.sof");
}

} // namespace
