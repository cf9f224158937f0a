// SPDX-License-Identifier: Apache-2.0
// Convert mode and the table-driven command line, run through the real executable; saved documents
// are read back with xmllint, outputs with `corvane --info`, srec_cat and objcopy.
#include "test_support.h"

#include "pgm/zeb/zeb_db_util.h"

#include <algorithm>
#include <filesystem>
#include <map>

#ifndef CORVANE_EXE
#error "CORVANE_EXE must name the corvane executable (set by tests/CMakeLists.txt)"
#endif

namespace
{

using corvane_test::corvane;
using corvane_test::PROGRAM_RUN;

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string xpath(const std::string& file, const std::string& expression)
{
    std::string text = corvane_test::run_program("xmllint", "--xpath 'string(" + expression + ")' '" + file + "'").out;
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

// Where each option must land, written from the document format rather than from the code:
// option, value given, element, attribute (empty: the element's text), text expected in the file.
struct LANDING
{
    const char* value;
    const char* element;
    const char* attribute;
    const char* expected;
};
const std::map<std::string, LANDING> k_landings = {
    {"mode", {"ASX4", "settings", "mode", "ASX4"}},
    {"custom_db_dir", {"db", "settings", "custom_db_dir", "db"}},
    {"hps", {"ON", "output_file", "hps", "true"}},
    {"cvp", {"ON", "output_file", "cvp", "true"}},
    {"rsu_boot", {"OFF", "output_file", "rsu_boot", "false"}},
    {"helper_device", {"7TR440PA3R1", "output_file", "device", "7TR440PA3R1"}},
    {"subtype", {"FUSE", "output_file", "subtype", "FUSE"}},
    {"count_dir", {"UP", "output_file/file_options", "direction", "UP"}},
    {"bitswap", {"ON", "output_file/file_options", "bitswap", "true"}}, // with an .rpd output
    {"start_address", {"0x100", "output_file/file_options", "s_addr", "0x00000100"}},
    {"frequency", {"6MHz", "output_file/file_options", "frequency", "6MHz"}},
    {"voltage", {"3_3V", "output_file/file_options", "voltage", "3_3V"}},
    {"operation", {"PB", "output_file/file_options", "operation", "PB"}},
    {"flash_loader", {"9RX027R1B", "flash_loader", "", "9RX027R1B"}},
    {"device", {"VQ128A", "flash_device", "type", "VQ128A"}},
    {"watchdog_value", {"1F", "flash_device", "watchdog_value", "0x0000001F"}},
    {"fallback_address", {"0x20000", "flash_device", "fallback_address", "0x00020000"}},
    {"ufm_source", {"2", "flash_device", "ufm_source", "2"}},
    {"power_on_scheme", {"1", "flash_device", "power_on_scheme", "1"}},
    {"ufm_source_file", {"ufm.hex", "flash_device", "ufm_source_file", "ufm.hex"}},
    {"key", {"k1", "path", "key1", "k1"}},
    {"key_file", {"a.key", "path", "key_file1", "a.key"}},
    {"pem_file", {"s.pem", "path", "signing_pem_file", "s.pem"}},
    {"signing", {"PEM", "path", "signing", "PEM"}},
    {"key_storage", {"BBRAM", "path", "key_storage", "BBRAM"}},
    {"secure", {"3", "path", "security_opt_secure", "3"}},
};

// Options whose attribute is named after them: flags of the flash device and bitstream, the
// security levels (attribute "security_opt_" + name) and file names of the bitstream.
LANDING derived_landing(const std::string& name, PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, std::string& attribute)
{
    const bool flash = param >= 60 && param <= 76;
    const std::string enumerator = ZEB_DB_UTIL::get_cmd_param_enum_name(param);
    if (contains(enumerator, "SECURITY_OPT"))
        return attribute = "security_opt_" + name, LANDING{"2", "path", attribute.c_str(), "2"};
    attribute = name;
    const bool file = contains(name, "file") || contains(name, "path") || name == "password" || name == "app_image" ||
                      name == "fw_source";
    if (file)
        return LANDING{"x.bin", "path", attribute.c_str(), "x.bin"};
    return LANDING{"ON", flash ? "flash_device" : "path", attribute.c_str(), "true"};
}

// Every accepted option of the table (switch-gated ones with their switch on, hidden ones too)
// lands in its attribute of the saved document; a name shared by two parameters where the output
// type needs it.
TEST(CliConvert, EveryOptionOfTheTableLandsInItsAttribute)
{
    corvane_test::SCRATCH_CWD cwd;
    corvane_test::write_file("corvane.ini",
                             "ZEB_ENABLE_JTAG_SECURITY_OPTION=ON\nZEB_ENABLE_BOOT_CONTROL_OPTIONS=ON\n"
                             "ZEB_ENABLE_POWER_ON_SCHEME_OPTION=ON\nZEB_ENABLE_RSU_APP_IMAGE_OPTIONS=ON\n"
                             "ZEB_ENABLE_TEST_MODE_OPTIONS=ON\n");
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    size_t tested = 0;
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        const std::string name = ZEB_DB::get_option_name(param);
        if (name.empty() || !ZEB_DB::get_enabled(param) ||
            param == ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_BITSWAP)
            continue;
        std::string attribute;
        const auto row = k_landings.find(name);
        const LANDING landing = row != k_landings.end() ? row->second : derived_landing(name, param, attribute);
        std::string arguments = "-c --no-check --save out.zeb -o '" + name + "=" + landing.value + "'";
        std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> needed = ZEB_DB::get_dependent_param(param);
        for (size_t i = 0; i < needed.size(); ++i) // what the needed options need in turn
        {
            for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM further : ZEB_DB::get_dependent_param(needed[i]))
                if (further != param && std::find(needed.begin(), needed.end(), further) == needed.end())
                    needed.push_back(further);
            const std::string other = ZEB_DB::get_option_name(needed[i]);
            std::string unused;
            const auto known = k_landings.find(other);
            arguments += " -o " + other + "=" +
                         (known != k_landings.end() ? known->second : derived_landing(other, needed[i], unused)).value;
        }
        std::filesystem::remove("out.zeb");
        PROGRAM_RUN run = corvane(arguments + " design.sof " + (name == "bitswap" ? "out.rpd" : "out.jic"));
        ASSERT_EQ(run.status, 0) << name << ": " << run.err;
        const std::string where = "//" + std::string(landing.element) +
                                  (*landing.attribute ? "/@" + std::string(landing.attribute) : std::string());
        EXPECT_EQ(xpath("out.zeb", where), landing.expected) << name << " at " << where;
        ++tested;
    }
    EXPECT_GE(tested, 60u);
    // The name bitswap, shared by two parameters, went to the .rpd's own options above; with a .jic
    // it goes to the secondary raw programming data only.
    const std::string jic = "--secondary SEC_RPD,MAP -o bitswap=ON -o device=VQ256A design.sof o.jic";
    ASSERT_EQ(corvane("-c --no-check --save j.zeb " + jic).status, 0);
    EXPECT_EQ(xpath("j.zeb", "//secondary_file[@type=\"SEC_RPD\"]/file_options/@bitswap") + "," +
                  xpath("j.zeb", "//secondary_file[@type=\"MAP\"]/file_options/@bitswap") + "," +
                  xpath("j.zeb", "//output_file/file_options/@bitswap"),
              "true,,");
}

// Bad usage exits with 2, says what is wrong and writes nothing.
TEST(CliConvert, UsageErrorsExitWithTwoAndWriteNothing)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    const std::pair<const char*, const char*> cases[] = {
        {"-o mod=ASX4 design.sof o.rbf", "unknown option 'mod'; did you mean 'mode'?"},
        {"-o mode=FAST design.sof o.rbf", "allowed: PS|FPP|ASX1|ASX4|AVSTX8|AVSTX16|AVSTX32|INTERNAL"},
        {"-o compression=yes design.sof o.rbf", "allowed: ON|OFF"},
        {"-o start_address=0x12G design.sof o.rbf", "does not take '0x12G'"},
        {"-o mode design.sof o.rbf", "-o needs NAME=VALUE"},
        {"-o password=p.txt design.sof o.rbf", "'password' needs 'hek_file'"},
        {"-o finalize_encryption=ON -o finalize_encryption_later=ON design.sof o.rbf",
         "'finalize_encryption' cannot be given together with 'finalize_encryption_later'"},
        {"-o enable_spi_mode=ON design.sof o.jic", "unknown option 'enable_spi_mode'"},
        {"absent.sof o.rbf", "input file 'absent.sof' does not exist"},
        {"design.sof data.bin o.jic", "does not exist"},
        {"design.sof nodir/o.rbf", "nodir' does not exist"},
        {"--layout nodir/l.svg -o mode=AVSTX8 design.sof o.rbf", "of 'nodir/l.svg' does not exist"},
        {"design.sof o.unknown", "cannot tell the output type"},
        {"design.sof design.sof@0xZZ o.jic", "malformed address"},
        {"--secondary FOO design.sof o.jic", "allowed: SEC_RPD|MAP|HELPER_RBF"},
        {"design.sof", "needs at least one input file and an output file"},
    };
    for (const auto& [arguments, says] : cases)
    {
        PROGRAM_RUN run = corvane(std::string("-c --save s.zeb ") + arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_TRUE(contains(run.err, says)) << arguments << ": " << run.err;
    }
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator("."))
        left.push_back(entry.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>{"design.sof"});
}

// Help lists every accepted option with its description verbatim; hidden and switch-gated ones
// only when allowed; the manual page in docs/ is the one the table makes.
TEST(CliConvert, HelpManualAndCompletionComeFromTheTable)
{
    PROGRAM_RUN help = corvane("--help");
    ASSERT_EQ(help.status, 0);
    for (PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param : ZEB_DB::get_all_cmd_param_type_keys())
    {
        const std::string name = ZEB_DB::get_option_name(param);
        // A raw file's bit swap is not an option: a raw file comes as an input argument.
        const bool listed = ZEB_DB::get_enabled(param) && !ZEB_DB::get_hidden(param) &&
                            param != ZEB_CMD_PARAM_RAW_FILE_BITSWAP && !ZEB_DB::get_enabled_by_ini(param) &&
                            !name.empty();
        if (listed && !ZEB_DB::get_description(param).empty())
        {
            EXPECT_TRUE(contains(help.out, "        " + ZEB_DB::get_description(param) + "\n")) << name;
        }
        else if (!listed && !name.empty() && name != "bitswap")
        {
            EXPECT_FALSE(contains(help.out, "    " + name + "=")) << name;
        }
    }
    EXPECT_TRUE(
        contains(corvane("--help --ini ZEB_ENABLE_BOOT_CONTROL_OPTIONS=ON").out, "    enable_spi_mode=ON|OFF\n"));

    EXPECT_EQ(corvane("--man").out, corvane_test::read_file(corvane_test::source_file("docs/corvane.1")))
        << "docs/corvane.1 is stale: regenerate it with corvane --man";
    PROGRAM_RUN lint =
        corvane_test::run_program("sh", "-c 'LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l " +
                                            corvane_test::source_file("docs/corvane.1") + " >/dev/null'");
    EXPECT_EQ(lint.err, "");
    const std::string completion = corvane("--completion").out;
    EXPECT_TRUE(contains(completion, " mode= ") && contains(completion, "--convert")) << completion;
}

// --save warns and writes nothing for a command-line-only output type; --quiet keeps errors only,
// --verbose adds the debug log; a failure ends with the counts; --check --json is read back by a
// JSON reader of its own.
TEST(CliConvert, SaveWarningQuietVerboseAndJson)
{
    corvane_test::SCRATCH_CWD cwd;
    ASSERT_EQ(corvane("--make-sof --device 7TR440PA3R1 --size 4096 design.sof").status, 0);
    EXPECT_TRUE(contains(corvane("-c --no-check --save w.zeb design.sof o.sof").err, "Warning (20811)"));
    EXPECT_FALSE(std::filesystem::exists("w.zeb"));
    PROGRAM_RUN quiet = corvane("--quiet -c -o mode=AVSTX8 design.sof o.rbf");
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.output(), "");
    EXPECT_TRUE(std::filesystem::exists("o.rbf"));
    PROGRAM_RUN failed = corvane("-c --quiet -o mode=ASX4 design.sof p.rbf");
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "");
    EXPECT_TRUE(contains(failed.err, "Error (19516): ") && contains(failed.err, "\n1 error, 0 warnings\n"))
        << failed.err;
    EXPECT_FALSE(std::filesystem::exists("p.rbf"));
    EXPECT_TRUE(contains(corvane("--verbose -c -o mode=AVSTX8 design.sof o.rbf").err, "[ZEB_COMMON] "));

    corvane_test::write_file("r.json", corvane("--check --json absent.zeb").out);
    PROGRAM_RUN read = corvane_test::run_program(
        "python3", "-c 'import json; d = json.load(open(\"r.json\")); print(d[\"ok\"], d[\"number\"])'");
    EXPECT_EQ(read.out, "False 19515\n") << read.err;
    EXPECT_EQ(corvane("--json absent.zeb").status, 2);
}

} // namespace
