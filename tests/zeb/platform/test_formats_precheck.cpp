// SPDX-License-Identifier: Apache-2.0
// Input prechecks against the device catalogue, the integrity check's message, and the bitstream
// assembler (synthetic and raw configuration data, helper images, bootloader embedding).
#include "test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_util.h"

#include <nlohmann/json.hpp>

using namespace corvane_test;

namespace
{

const std::string k_corrupted = ". The file is corrupted or the targeted device is not supported.";

struct PRECHECK
{
    bool ok = false;
    const PGM_DEVICE* device = nullptr;
    PGMIO_PRECHECK_INFO info;
    std::string message;
    std::string detail;
};

PRECHECK precheck(const std::string& path, bool raw = true)
{
    PRECHECK result;
    result.ok =
        ZEB_UTIL::precheck_input_file(FIO_PATH(path), &result.device, &result.info, result.message, result.detail, raw);
    return result;
}

const PGM_DEVICE& device(const char* name)
{
    const PGM_DEVICE* found = PGM_DEVICE_INDEX::lookup_device(std::string_view(name));
    if (!found)
        throw std::runtime_error(std::string("catalogue device missing: ") + name);
    return *found;
}

PGMIO_FLASH_IMAGE catalogue_flash(bool jic)
{
    PGMIO_FLASH_IMAGE flash = small_flash(jic);
    flash.flash_device = "VQ256A";
    const DEV_FLASH_RECORD* record = GFPDB_QSPI_MGR().find_device("VQ256A");
    flash.flash_size = record ? record->size : 0;
    return flash;
}

} // namespace

// Every format's sample: the precheck of an object file gives its device, kind and flags (other files
// pass it without a device); --info names each file's kind and a detail, and finds it sound, as the
// integrity check does without a word.
TEST(Precheck, EveryFormatIsPrecheckedAndDescribed)
{
    SCRATCH_DIR dir;
    MSG_CAPTURE_SINK sink;
    std::string error;
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("a.sof"), small_sof(true), error) &&
                PGMIO_FLASH_FILE::write(dir.file("a.pof"), catalogue_flash(false), error) &&
                PGMIO_FLASH_FILE::write(dir.file("a.jic"), catalogue_flash(true), error) &&
                PGMIO_MSF::write(dir.file("a.msf"), small_msf(), error) &&
                PGMIO_PMSF::write(dir.file("a.pmsf"), small_pmsf(), error) &&
                PGMIO_RBF::write(dir.file("a.rbf"), small_config(PGMIO_DESIGN_CVP), error) &&
                PGMIO_EKP::write(dir.file("a.ekp"), small_ekp(), error) &&
                PGMIO_HELPER::write(dir.file("a.hlp"), small_helper(), error) &&
                pgmio_write_hex_file(dir.file("a.hex"), 0x100, counting_bytes(40, 0), error))
        << error;
    write_file(dir.file("a.cdf"), "corvane-cdf 1\ndevice 7TR440PA3R1 file a.sof actions program\n");
    struct CASE
    {
        const char* file;
        uint32_t kind; // 0: no object file, passes the precheck without a device
        uint32_t flags;
        const char* description;
        const char* detail;
    };
    const CASE cases[] = {
        {"a.sof", PGMIO_KIND_SOF, PGMIO_DESIGN_HPS, "SRAM object file", "\"hps bootloader\": \"6 bytes at 0xffe00000\""},
        {"a.rbf", PGMIO_KIND_RBF, PGMIO_DESIGN_CVP, "configuration data file", "\"device\": \"7TR440PA3R1\""},
        {"a.pmsf", PGMIO_KIND_PMSF, PGMIO_DESIGN_PR, "partial-masked SRAM object file", "\"region\": \"pr_region_0\""},
        {"a.msf", PGMIO_KIND_MSF, PGMIO_DESIGN_PR, "mask settings file", "\"region bytes\": \"5\""},
        {"a.pof", PGMIO_KIND_POF, PGMIO_DESIGN_HPS, "programmer object file", "\"page P1\": \"0x00010000..0x0001ffff\""},
        {"a.jic", PGMIO_KIND_JIC, PGMIO_DESIGN_HPS, "JTAG indirect configuration file",
         "\"flash loader\": \"7TR440PA3R1 (9 bytes)\""},
        {"a.ekp", 0, 0, "key programming file", "\"key owner\": \"owner key hash, eFuse, 48 bytes\""},
        {"a.hlp", 0, 0, "programming helper image", "\"subtype\": \"293\""},
        {"a.hex", 0, 0, "hex data file", "\"address range\": \"0x00000100..0x00000127\""},
        {"a.cdf", 0, 0, "chain description file", "\"device 1\": \"7TR440PA3R1 file a.sof\""},
    };
    for (const CASE& c : cases)
    {
        SCOPED_TRACE(c.file);
        const PRECHECK result = precheck(dir.file(c.file));
        ASSERT_TRUE(result.ok) << result.detail;
        if (c.kind == 0)
            EXPECT_EQ(result.device, nullptr);
        else
        {
            ASSERT_NE(result.device, nullptr);
            EXPECT_EQ(result.device->get_name(), "7TR440PA3R1");
            EXPECT_EQ(result.info.kind, c.kind);
            EXPECT_EQ(result.info.design_flags, c.flags);
            EXPECT_TRUE(result.info.remote_update);
        }
        const PROGRAM_RUN run = corvane("--info --json '" + dir.file(c.file) + "'");
        EXPECT_EQ(run.status, 0) << run.output();
        EXPECT_NE(run.out.find(std::string("\"kind\": \"") + c.description + "\""), std::string::npos) << run.out;
        EXPECT_NE(run.out.find(c.detail), std::string::npos) << run.out;
        EXPECT_EQ(nlohmann::json::parse(run.out)["integrity"]["ok"], true) << run.out;
        EXPECT_TRUE(ZEB_UTIL::check_integrity(FIO_PATH(dir.file(c.file))));
    }
    EXPECT_TRUE(sink.messages().empty());
    EXPECT_TRUE(precheck(dir.file("a.sof")).info.has_bootloader);
    EXPECT_EQ(precheck(dir.file("a.jic")).info.flash_flags, PGMIO_FLASH_REMOTE_UPDATE);
    // Sections with their offsets, nested configuration data included.
    const PROGRAM_RUN text = corvane("--info '" + dir.file("a.sof") + "'");
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("  SOFH     0x00000068"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("    CORE "), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("integrity:                 ok"), std::string::npos) << text.out;
}

// Each row writes one refused file; the message is the corrupted-file sentence, the detail names why.
// Raw binary data is checked only when asked; the integrity check posts its reason.
TEST(Precheck, DamagedAndUnsupportedFilesAreRefusedWithTheirReason)
{
    SCRATCH_DIR dir;
    std::string error;
    const auto sof = [&](const char* name, const char* device)
    {
        PGMIO_SOF_IMAGE image = small_sof(false);
        image.device_name = device;
        return PGMIO_SOF::write(dir.file(name), image, error);
    };
    const auto msf = [&](const char* name, const char* device, uint64_t offset)
    {
        PGMIO_MSF_IMAGE image = small_msf();
        image.device_name = device;
        image.region_offset = uint32_t(offset);
        return PGMIO_MSF::write(dir.file(name), image, error);
    };
    const auto flash = [&](const char* name, bool jic, const char* loader, uint64_t size)
    {
        PGMIO_FLASH_IMAGE image = catalogue_flash(jic);
        image.loader_device = loader;
        image.flash_size = size ? size : image.flash_size;
        return PGMIO_FLASH_FILE::write(dir.file(name), image, error);
    };
    PGMIO_CONFIG_DATA stranger = small_config(0);
    stranger.idcode = 0x7FFFFFFF;
    PGMIO_BYTES damaged = encoded<PGMIO_SOF>(small_sof(false));
    damaged[damaged.size() / 2] ^= 0x10;
    write_bytes(dir.file("damaged.sof"), damaged);
    write_file(dir.file("user.rbf"), "user data, not configuration data");
    ASSERT_TRUE(sof("unknown.sof", "NOPE") && sof("idcode.sof", "5ZV066H2") && sof("flash.sof", "VQ256A") &&
                msf("nopr.msf", "3ZT085F2", 0x100) &&
                msf("outside.msf", "7TR440PA3R1", device("7TR440PA3R1").get_fpga_record()->config_data_size - 2) &&
                flash("loader.jic", true, "NOPE", 0) && flash("kind.jic", false, "", 0) &&
                flash("size.pof", false, "", catalogue_flash(false).flash_size / 2) &&
                PGMIO_FLASH_FILE::write(dir.file("nodb.pof"), small_flash(false), error) &&
                PGMIO_RBF::write(dir.file("stranger.rbf"), stranger, error))
        << error;
    const std::pair<const char*, const char*> cases[] = {
        {"damaged.sof", "CRC mismatch"},
        {"unknown.sof", "device 'NOPE' is not in the device catalogue"},
        {"idcode.sof", "IDCODE 0x17a445ef of the file does not match device '5ZV066H2' (0x05c065ef)"},
        {"flash.sof", "is a flash device, not an FPGA"},
        {"nopr.msf", "partial reconfiguration, which device '3ZT085F2' does not have"},
        {"outside.msf", "lies outside the configuration data"},
        {"loader.jic", "flash loader: device 'NOPE'"},
        {"kind.jic", "holds a programmer object file but its extension is .jic"},
        {"size.pof", "flash device 'VQ256A' has"},
        {"nodb.pof", "flash device 'VQ1M' is in neither"},
        {"stranger.rbf", "no device of the catalogue has IDCODE 0x7fffffff"},
        {"user.rbf", "wrong magic"},
    };
    for (const auto& [file, detail] : cases)
    {
        const PRECHECK refused = precheck(dir.file(file));
        EXPECT_FALSE(refused.ok) << file;
        EXPECT_EQ(refused.device, nullptr) << file;
        EXPECT_EQ(refused.message, "Failed to parse " + dir.file(file) + k_corrupted) << file;
        EXPECT_NE(refused.detail.find(detail), std::string::npos) << file << ": " << refused.detail;
    }
    EXPECT_TRUE(precheck(dir.file("user.rbf"), false).ok);
    // One string for both: the sentence for the user wins.
    const PGM_DEVICE* found = nullptr;
    std::string both;
    EXPECT_FALSE(ZEB_UTIL::precheck_input_file(FIO_PATH(dir.file("user.rbf")), &found, both, both, true));
    EXPECT_EQ(both, "Failed to parse " + dir.file("user.rbf") + k_corrupted);

    MSG_CAPTURE_SINK sink;
    EXPECT_FALSE(ZEB_UTIL::check_integrity(FIO_PATH(dir.file("damaged.sof"))));
    ASSERT_EQ(sink.count("EZEB_INTEGRITY_CHECK_ERROR"), 1u);
    const std::string& text = sink.messages()[0].text;
    EXPECT_EQ(text.rfind("The programming file integrity check failed. " + dir.file("damaged.sof") + ": ", 0), 0u)
        << text;
}

// Seeds and raw data are followed through --make-sof in the CLI tests.
TEST(Assembler, SectionsFollowTheDeviceAndTheFlags)
{
    std::string error;
    BITASM_OPTIONS options;
    options.size = 1600;
    options.flags = PGMIO_DESIGN_CVP | PGMIO_DESIGN_HPS;
    PGMIO_CONFIG_DATA data;
    ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(device("7TR440PA3R1"), options, data, error)) << error;
    ASSERT_EQ(data.sections.size(), 4u);
    EXPECT_EQ(data.sections[0].data.size(), 100u); // firmware: a block-layout device
    EXPECT_EQ(data.sections[1].data.size(), 200u); // periphery: CvP
    EXPECT_EQ(data.sections[2].data.size(), 1200u);
    EXPECT_EQ(data.sections[3].data.size(), 100u); // HPS
    EXPECT_EQ(data.idcode, 0x17A445EFu);

    options.flags = PGMIO_DESIGN_CVP;
    ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, data, error)) << error;
    ASSERT_EQ(data.sections.size(), 2u);
    EXPECT_EQ(data.sections[0].tag, PGMIO_SECTION_PERIPHERY);
}

TEST(Assembler, RefusesWhatTheDeviceCannotTake)
{
    std::string error;
    PGMIO_CONFIG_DATA data;
    BITASM_OPTIONS options;
    options.size = 1000;
    options.flags = PGMIO_DESIGN_HPS;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, data, error));
    EXPECT_EQ(error, "device '5ZV066H2' does not support an HPS (hard processor system)");
    options.flags = 0;
    options.size = 10;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, data, error));
    EXPECT_NE(error.find("too small, at least 64"), std::string::npos);
    options.size = 1000;
    options.utilization = 101;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, data, error));
    EXPECT_NE(error.find("it is 0 to 100"), std::string::npos) << error;
    options.utilization = 30;
    const uint64_t capacity = device("3ZT085F2").get_fpga_record()->config_data_size;
    options.size = capacity + 1;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("3ZT085F2"), options, data, error));
    EXPECT_NE(error.find("takes at most " + std::to_string(capacity)), std::string::npos) << error;
    const PGMIO_BYTES raw(100, 1);
    options.raw_data = &raw;
    options.size = 99;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("3ZT085F2"), options, data, error));
    options.size = 0;
    EXPECT_FALSE(BITASM_MGR::assemble_configuration_data(device("VQ256A"), options, data, error));
    EXPECT_NE(error.find("is a flash device"), std::string::npos);

    PGMIO_HELPER_IMAGE helper;
    ASSERT_TRUE(BITASM_MGR::assemble_helper_image(device("7TR440PA3R1"), 293, 5, helper, error)) << error;
    EXPECT_EQ(helper.config.payload_size(), device("7TR440PA3R1").get_fpga_record()->find_helper_image(293)->size);
    EXPECT_FALSE(BITASM_MGR::assemble_helper_image(device("5ZV066H2"), 293, 5, helper, error));
    EXPECT_NE(error.find("has no helper image of subtype 293"), std::string::npos);
}

TEST(Assembler, EmbedsAnHpsBootloaderFromHexRecords)
{
    SCRATCH_DIR dir;
    std::string error;
    const std::string input = dir.file("in.sof");
    const std::string output = dir.file("out.sof");
    ASSERT_TRUE(PGMIO_SOF::write(input, small_sof(false), error)) << error;
    const PGMIO_BYTES boot = counting_bytes(40, 9);
    ASSERT_TRUE(pgmio_write_hex_file(dir.file("boot.hex"), 0xFFE00000, boot, error)) << error;
    ASSERT_EQ(BITASM_MGR::embedded_bootloader_into_sof(input, output, dir.file("boot.hex")), "");
    PGMIO_SOF_IMAGE sof;
    ASSERT_TRUE(PGMIO_SOF::read(output, sof, error)) << error;
    EXPECT_TRUE(sof.has_bootloader);
    EXPECT_EQ(sof.bootloader_address, 0xFFE00000u);
    EXPECT_EQ(sof.bootloader, boot);
    EXPECT_EQ(sof.config, small_sof(false).config);

    // Failures leave the output as it was.
    write_file(output, "previous");
    write_file(dir.file("bad.hex"), ":0400000001020304F2\n:0000001FF\n");
    // Records 256 MiB apart would make a bootloader too large to hold.
    write_file(dir.file("wide.hex"), ":0100000011EE\n:020000041000EA\n:0100000022DD\n:00000001FF\n");
    PGMIO_SOF_IMAGE no_hps = small_sof(false);
    no_hps.flags = 0;
    no_hps.config = small_config(0);
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("plain.sof"), no_hps, error)) << error;
    const std::tuple<std::string, const char*, const char*> failures[] = {
        {input, "bad.hex", "bad.hex:2:"},
        {dir.file("plain.sof"), "boot.hex", "does not use the HPS"},
        {dir.file("none.sof"), "boot.hex", "cannot read SRAM object file"},
        {input, "wide.hex", "is too large"},
    };
    for (const auto& [sof, hex, expected] : failures)
        EXPECT_NE(BITASM_MGR::embedded_bootloader_into_sof(sof, output, dir.file(hex)).find(expected),
                  std::string::npos)
            << expected;
    EXPECT_EQ(read_file(output), "previous");
}
