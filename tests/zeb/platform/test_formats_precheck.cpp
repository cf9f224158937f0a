// SPDX-License-Identifier: Apache-2.0
// Input prechecks against the device catalogue, the integrity check's message, and the bitstream
// assembler (synthetic and raw configuration data, helper images, bootloader embedding).
#include "test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"
#include "pgm/zeb/zeb_util.h"

#include <filesystem>

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

TEST(Precheck, ObjectFilesYieldTheirDeviceAndFlags)
{
    SCRATCH_DIR dir;
    std::string error;
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("a.sof"), small_sof(true), error)) << error;
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("a.pof"), catalogue_flash(false), error)) << error;
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("a.jic"), catalogue_flash(true), error)) << error;
    ASSERT_TRUE(PGMIO_MSF::write(dir.file("a.msf"), small_msf(), error)) << error;
    ASSERT_TRUE(PGMIO_PMSF::write(dir.file("a.pmsf"), small_pmsf(), error)) << error;
    ASSERT_TRUE(PGMIO_RBF::write(dir.file("a.rbf"), small_config(PGMIO_DESIGN_CVP), error)) << error;
    struct CASE
    {
        const char* file;
        uint32_t kind;
        uint32_t flags;
    };
    for (const CASE& c :
         {CASE{"a.sof", PGMIO_KIND_SOF, PGMIO_DESIGN_HPS}, CASE{"a.pof", PGMIO_KIND_POF, PGMIO_DESIGN_HPS},
          CASE{"a.jic", PGMIO_KIND_JIC, PGMIO_DESIGN_HPS}, CASE{"a.msf", PGMIO_KIND_MSF, PGMIO_DESIGN_PR},
          CASE{"a.pmsf", PGMIO_KIND_PMSF, PGMIO_DESIGN_PR}, CASE{"a.rbf", PGMIO_KIND_RBF, PGMIO_DESIGN_CVP}})
    {
        const PRECHECK result = precheck(dir.file(c.file));
        ASSERT_TRUE(result.ok) << c.file << ": " << result.detail;
        ASSERT_NE(result.device, nullptr);
        EXPECT_EQ(result.device->get_name(), "7TR440PA3R1") << c.file;
        EXPECT_EQ(result.info.kind, c.kind) << c.file;
        EXPECT_EQ(result.info.design_flags, c.flags) << c.file;
        EXPECT_TRUE(result.info.remote_update) << c.file;
    }
    EXPECT_TRUE(precheck(dir.file("a.sof")).info.has_bootloader);
    EXPECT_EQ(precheck(dir.file("a.jic")).info.flash_flags, PGMIO_FLASH_REMOTE_UPDATE);

    // The short form that generation calls, with one string for message and detail.
    const PGM_DEVICE* found = nullptr;
    std::string message;
    EXPECT_TRUE(ZEB_UTIL::precheck_input_file(FIO_PATH(dir.file("a.sof")), &found, message, message, true));
    EXPECT_EQ(found, &device("7TR440PA3R1"));
}

TEST(Precheck, MessagesForMissingDamagedAndUnsupportedFiles)
{
    SCRATCH_DIR dir;
    std::string error;
    PRECHECK result = precheck(dir.file("missing.sof"));
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.message, "Cannot find '" + dir.file("missing.sof") +
                                  "'. Make sure the file is located at the expected location or update the setting.");

    auto expect_refused = [&](const std::string& file, const std::string& detail)
    {
        const PRECHECK refused = precheck(dir.file(file));
        EXPECT_FALSE(refused.ok) << file;
        EXPECT_EQ(refused.device, nullptr) << file;
        EXPECT_EQ(refused.message, "Failed to parse " + dir.file(file) + k_corrupted) << file;
        EXPECT_NE(refused.detail.find(detail), std::string::npos) << file << ": " << refused.detail;
    };
    PGMIO_BYTES image;
    ASSERT_TRUE(PGMIO_SOF::encode(small_sof(false), image, error));
    image[image.size() / 2] ^= 0x10;
    write_file(dir.file("damaged.sof"), std::string(image.begin(), image.end()));
    expect_refused("damaged.sof", "CRC mismatch");
    write_file(dir.file("empty.sof"), "");
    expect_refused("empty.sof", "the file is empty");
    std::filesystem::create_directory(dir.file("folder.pof"));
    expect_refused("folder.pof", "is a directory");

    PGMIO_SOF_IMAGE sof = small_sof(false);
    sof.device_name = "NOPE";
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("unknown.sof"), sof, error));
    expect_refused("unknown.sof", "device 'NOPE' is not in the device catalogue");
    sof = small_sof(false);
    sof.device_name = "5ZV066H2"; // another IDCODE, and no HPS
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("idcode.sof"), sof, error));
    expect_refused("idcode.sof", "IDCODE 0x17a445ef of the file does not match device '5ZV066H2' (0x05c065ef)");
    sof = small_sof(false);
    sof.device_name = "VQ256A";
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("flash.sof"), sof, error));
    expect_refused("flash.sof", "is a flash device, not an FPGA");

    PGMIO_MSF_IMAGE msf = small_msf();
    msf.device_name = "3ZT085F2";
    ASSERT_TRUE(PGMIO_MSF::write(dir.file("nopr.msf"), msf, error));
    expect_refused("nopr.msf", "partial reconfiguration, which device '3ZT085F2' does not have");
    msf = small_msf();
    msf.region_offset = device("7TR440PA3R1").get_fpga_record()->config_data_size - 2;
    ASSERT_TRUE(PGMIO_MSF::write(dir.file("outside.msf"), msf, error));
    expect_refused("outside.msf", "lies outside the configuration data");

    PGMIO_FLASH_IMAGE flash = catalogue_flash(true);
    flash.loader_device = "NOPE";
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("loader.jic"), flash, error));
    expect_refused("loader.jic", "flash loader: device 'NOPE'");
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("kind.jic"), catalogue_flash(false), error));
    expect_refused("kind.jic", "holds a programmer object file but its extension is .jic");
    flash = catalogue_flash(false);
    flash.flash_size /= 2;
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("size.pof"), flash, error));
    expect_refused("size.pof", "flash device 'VQ256A' has");
    ASSERT_TRUE(PGMIO_FLASH_FILE::write(dir.file("nodb.pof"), small_flash(false), error));
    expect_refused("nodb.pof", "flash device 'VQ1M' is in neither");

    PGMIO_CONFIG_DATA config = small_config(0);
    config.idcode = 0x7FFFFFFF;
    ASSERT_TRUE(PGMIO_RBF::write(dir.file("stranger.rbf"), config, error));
    expect_refused("stranger.rbf", "no device of the catalogue has IDCODE 0x7fffffff");
}

TEST(Precheck, RawBinaryOnlyWhenAskedAndOtherFilesPass)
{
    SCRATCH_DIR dir;
    write_file(dir.file("user.rbf"), "user data, not configuration data");
    EXPECT_TRUE(precheck(dir.file("user.rbf"), false).ok);
    const PRECHECK checked = precheck(dir.file("user.rbf"), true);
    EXPECT_FALSE(checked.ok);
    EXPECT_NE(checked.detail.find("wrong magic"), std::string::npos) << checked.detail;
    write_file(dir.file("notes.txt"), "");
    const PRECHECK other = precheck(dir.file("notes.txt"));
    EXPECT_TRUE(other.ok);
    EXPECT_EQ(other.device, nullptr);
    // One string for both: the sentence for the user wins.
    const PGM_DEVICE* found = nullptr;
    std::string both;
    EXPECT_FALSE(ZEB_UTIL::precheck_input_file(FIO_PATH(dir.file("user.rbf")), &found, both, both, true));
    EXPECT_EQ(both, "Failed to parse " + dir.file("user.rbf") + k_corrupted);
}

TEST(Integrity, PostsTheReasonOnlyOnFailure)
{
    SCRATCH_DIR dir;
    std::string error;
    const std::string path = dir.file("a.sof");
    ASSERT_TRUE(PGMIO_SOF::write(path, small_sof(false), error)) << error;
    MSG_CAPTURE_SINK sink;
    EXPECT_TRUE(ZEB_UTIL::check_integrity(FIO_PATH(path)));
    EXPECT_TRUE(sink.messages().empty());
    std::string bytes = read_file(path);
    bytes[40] ^= 1;
    write_file(path, bytes);
    EXPECT_FALSE(ZEB_UTIL::check_integrity(FIO_PATH(path)));
    ASSERT_EQ(sink.count("EZEB_INTEGRITY_CHECK_ERROR"), 1u);
    const std::string& text = sink.messages()[0].text;
    EXPECT_EQ(text.rfind("The programming file integrity check failed. " + path + ": ", 0), 0u) << text;
}

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

    // The same seed gives the same bytes; another seed others.
    PGMIO_CONFIG_DATA again;
    ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, again, error));
    EXPECT_EQ(again, data);
    options.seed = 2;
    ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(device("5ZV066H2"), options, again, error));
    EXPECT_NE(again.sections[1].data, data.sections[1].data);

    // Raw data comes back in order from the sections.
    const PGMIO_BYTES raw = counting_bytes(300, 0);
    options.raw_data = &raw;
    options.size = 0;
    ASSERT_TRUE(BITASM_MGR::assemble_configuration_data(device("7TR440PA3R1"), options, data, error)) << error;
    PGMIO_BYTES joined;
    for (const PGMIO_CONFIG_SECTION& section : data.sections)
        joined.insert(joined.end(), section.data.begin(), section.data.end());
    EXPECT_EQ(joined, raw);
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
    EXPECT_NE(BITASM_MGR::embedded_bootloader_into_sof(input, output, dir.file("bad.hex")).find("bad.hex:2:"),
              std::string::npos);
    PGMIO_SOF_IMAGE no_hps = small_sof(false);
    no_hps.flags = 0;
    no_hps.config = small_config(0);
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("plain.sof"), no_hps, error)) << error;
    EXPECT_NE(BITASM_MGR::embedded_bootloader_into_sof(dir.file("plain.sof"), output, dir.file("boot.hex"))
                  .find("does not use the HPS"),
              std::string::npos);
    EXPECT_NE(BITASM_MGR::embedded_bootloader_into_sof(dir.file("none.sof"), output, dir.file("boot.hex"))
                  .find("cannot read SRAM object file"),
              std::string::npos);
    // Records 256 MiB apart would make a bootloader too large to hold.
    write_file(dir.file("wide.hex"), ":0100000011EE\n:020000041000EA\n:0100000022DD\n:00000001FF\n");
    EXPECT_NE(BITASM_MGR::embedded_bootloader_into_sof(input, output, dir.file("wide.hex")).find("is too large"),
              std::string::npos);
    EXPECT_EQ(read_file(output), "previous");
}
