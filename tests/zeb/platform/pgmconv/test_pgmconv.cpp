// SPDX-License-Identifier: Apache-2.0
// Programming-file engine: every writer checked against an independent reader (srec_cat, objcopy,
// dd and crc32) and our own readers; the flash layout's placement and its errors; atomic outputs.
#include "test_support.h"
#include "zeb/platform/test_formats_support.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_flash_dir.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

namespace
{

using corvane_test::read_file;
using corvane_test::run_program;
using corvane_test::SCRATCH_DIR;

// An SRAM object file of `size` payload bytes for a catalogue device; returns its .rbf bytes.
std::string make_sof(const std::string& path, const char* device_name, uint64_t size, uint64_t seed)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(device_name));
    BITASM_OPTIONS options;
    options.size = size;
    options.seed = seed;
    PGMIO_SOF_IMAGE sof;
    PGMIO_BYTES rbf;
    std::string error;
    EXPECT_TRUE(BITASM_MGR::assemble_sof(*device, options, sof, error) && PGMIO_SOF::write(path, sof, error) &&
                PGMIO_RBF::encode(sof.config, rbf, error))
        << error;
    return std::string(rbf.begin(), rbf.end());
}

std::unique_ptr<PGMIO_CCF> new_ccf(const std::string& output)
{
    auto ccf = std::make_unique<PGMIO_CCF>("dummy", "", new PGMIO_FILE_OPTIONS, 1, 0, false, 10.0, 1.0, false, true);
    const FIO_PATH path(output);
    ccf->set_output_file(&path);
    return ccf;
}

// A programming file `output` for the flash device `flash`, with the SRAM object file `sof` on page 0.
std::unique_ptr<PGMIO_CCF> new_flash_ccf(const std::string& output, const char* flash, const std::string& sof)
{
    auto ccf = new_ccf(output);
    ccf->get_file_options()->write_pof = true;
    ccf->set_device(flash);
    EXPECT_TRUE(ccf->add_sof_file(FIO_PATH(sof), 0, 0, 0));
    return ccf;
}

std::string shell(const std::string& command)
{
    const corvane_test::PROGRAM_RUN run = run_program("/bin/sh", "-c \"" + command + "\"");
    EXPECT_EQ(run.status, 0) << command << ": " << run.err;
    return run.out;
}

// The map's columns of one line, by name.
std::map<std::string, std::vector<std::string>> read_map(const std::string& path)
{
    std::map<std::string, std::vector<std::string>> lines;
    std::istringstream in(read_file(path));
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#')
        {
            std::istringstream words(line);
            std::vector<std::string> fields;
            for (std::string word; words >> word;)
                fields.push_back(word);
            lines[fields[0]] = fields;
        }
    return lines;
}

// Hex records counting down put the last byte at the start address; srec_cat and objcopy read back the
// configuration data's bytes. (Counting up, and the bytes of the other host formats, are proven by
// generation.)
TEST(PgmconvWriters, HexRecordsCountingDownAndDecimalTextLines)
{
    SCRATCH_DIR dir;
    const std::string rbf = make_sof(dir.file("d.sof"), "5ZV066H2", 70000, 3);
    const std::string out = dir.file("down.hexout");
    auto ccf = new_ccf(out);
    ccf->get_file_options()->write_hexout = true;
    ccf->get_file_options()->hex_count_up = false;
    ccf->get_file_options()->hex_start_address = 0x200000;
    ASSERT_TRUE(ccf->add_sof_file(FIO_PATH(dir.file("d.sof")), 0, 0, 0));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*ccf)) << ccf->get_error();
    const uint32_t low = 0x200000 - uint32_t(rbf.size()) + 1;
    shell("srec_cat '" + out + "' -I -offset -" + std::to_string(low) + " -o '" + dir.file("s.bin") + "' -binary");
    shell("objcopy -I ihex -O binary '" + out + "' '" + dir.file("o.bin") + "'");
    EXPECT_TRUE(read_file(dir.file("s.bin")) == rbf);
    EXPECT_TRUE(read_file(dir.file("o.bin")) == rbf);
    // The decimal text holds 16 values a line.
    auto text = new_ccf(dir.file("d.ttf"));
    text->get_file_options()->write_ttf = true;
    ASSERT_TRUE(text->add_sof_file(FIO_PATH(dir.file("d.sof")), 0, 0, 0));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*text)) << text->get_error();
    const std::string ttf = read_file(dir.file("d.ttf"));
    EXPECT_EQ(std::count(ttf.begin(), ttf.begin() + long(ttf.find('\n')), ','), 16);
}

// A binary data file of `size` bytes.
std::string make_raw(const std::string& path, size_t size)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = char((i * 7 + i / 251) & 0xFF);
    corvane_test::write_file(path, bytes);
    return bytes;
}

std::vector<std::string> listing(const SCRATCH_DIR& dir)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Remote update on a serial flash: boot information, factory image, tables, pointer blocks, an
// application image and a raw data file, written as .pof, .jic, .rpd and .map.
std::unique_ptr<PGMIO_CCF> remote_update(const SCRATCH_DIR& dir)
{
    auto ccf = new_flash_ccf(dir.file("flash.pof"), "VQ64A", dir.file("factory.sof"));
    ccf->set_jic_output(true);
    ccf->set_hlpr_device("9RX027R1B");
    ccf->set_auto_create_rpd_output(true);
    ccf->set_mem_map_output(true);
    ccf->set_page_user_name("FACTORY_IMAGE", 0);
    ccf->set_addr_scheme(0, PGMIO_ADDR_FIXED_START);
    ccf->set_start_address(0x50000, 0);
    EXPECT_TRUE(ccf->add_sof_file(FIO_PATH(dir.file("app.sof")), 0, 1, 0));
    ccf->set_page_user_name("APP1", 1);
    const HEX_FILE raw{FIO_PATH(dir.file("data.bin")), "DATA", PGMIO_CCF_AUTO, true};
    EXPECT_TRUE(ccf->add_rbf_file(&raw, PGMIO_CCF_AUTO, 0x700000));
    return ccf;
}

TEST(PgmconvFlash, EveryFlashOutputHoldsTheImagesWhereTheMapSays)
{
    SCRATCH_DIR dir;
    const std::map<std::string, std::string> expected = {
        {"FACTORY_IMAGE", make_sof(dir.file("factory.sof"), "9RX027R1B", 0x30000, 1)},
        {"APP1", make_sof(dir.file("app.sof"), "9RX027R1B", 0x28000, 2)},
        {"DATA", make_raw(dir.file("data.bin"), 100000)},
    };
    auto ccf = remote_update(dir);
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*ccf)) << ccf->get_error();

    const auto map = read_map(dir.file("flash.map"));
    EXPECT_EQ(map.at("FACTORY_IMAGE")[2], "0x00050000");
    EXPECT_EQ(map.at("DATA")[2], "0x00700000");
    for (const auto& [name, bytes] : expected)
    {
        SCOPED_TRACE(name);
        const std::vector<std::string>& line = map.at(name);
        const std::string cut = dir.file(name + ".cut");
        shell("dd if='" + dir.file("flash.rpd") + "' of='" + cut + "' bs=4096 iflag=skip_bytes,count_bytes skip=" +
              std::to_string(std::stoul(line[2], nullptr, 16)) + " count=" + line[4] + " status=none");
        EXPECT_TRUE(read_file(cut) == bytes);
        std::string crc = shell("crc32 '" + cut + "'").substr(0, 8);
        std::transform(crc.begin(), crc.end(), crc.begin(), ::toupper);
        EXPECT_EQ("0x" + crc, line[7]);
        // The memory map hashes the source file itself; the files are streamed, not held whole.
        const std::string source = dir.file(name == "DATA" ? "data.bin" : name == "APP1" ? "app.sof" : "factory.sof");
        EXPECT_EQ(shell("sha256sum '" + source + "'").substr(0, 64), line[8]);
    }
    // Our own readers: the flash files page by page, the verifier on every flash output.
    for (const char* file : {"flash.pof", "flash.jic"})
    {
        PGMIO_FLASH_IMAGE flash;
        std::string error;
        ASSERT_TRUE(PGMIO_FLASH_FILE::read(dir.file(file), flash, error)) << error;
        EXPECT_EQ(flash.flags, PGMIO_FLASH_REMOTE_UPDATE);
        ASSERT_EQ(flash.pages.size(), 2u);
        for (const PGMIO_FLASH_PAGE& page : flash.pages)
            for (const PGMIO_FLASH_BLOCK& block : flash.blocks)
            {
                if (block.address == page.start)
                {
                    EXPECT_TRUE(std::string(block.data.begin(), block.data.end()) == expected.at(page.name));
                }
            }
        EXPECT_EQ(flash.loader_device, flash.jic ? "9RX027R1B" : "");
    }
    for (const char* file : {"flash.rpd", "flash.pof", "flash.jic"})
    {
        const auto run = run_program(CORVANE_EXE, std::string("--info ") + dir.file(file));
        EXPECT_EQ(run.status, 0) << run.output();
        EXPECT_NE(run.out.find("boot order:               FACTORY_IMAGE -> APP1"), std::string::npos) << run.out;
    }
    // The .rpd of the .pof given as input is the .rpd of the layout.
    auto of_pof = new_ccf(dir.file("again.rpd"));
    of_pof->get_file_options()->write_rpd_from_pof = true;
    ASSERT_TRUE(of_pof->add_sof_file(FIO_PATH(dir.file("flash.pof")), 0, 0, 0));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*of_pof)) << of_pof->get_error();
    EXPECT_TRUE(read_file(dir.file("again.rpd")) == read_file(dir.file("flash.rpd")));
    std::filesystem::remove(dir.file("again.rpd"));
    // The same inputs give the same bytes.
    std::map<std::string, std::string> first;
    for (const std::string& name : listing(dir))
        first[name] = read_file(dir.file(name));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*remote_update(dir)));
    for (const std::string& name : listing(dir))
        EXPECT_TRUE(first.count(name) && first[name] == read_file(dir.file(name))) << name;
    // A damaged image is found and named.
    std::string rpd = read_file(dir.file("flash.rpd"));
    rpd[std::stoul(map.at("APP1")[2], nullptr, 16) + 100] ^= 0x10;
    corvane_test::write_file(dir.file("bad.rpd"), rpd);
    const auto run = run_program(CORVANE_EXE, "--info --json " + dir.file("bad.rpd"));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("\"failure\": \"image 'APP1': CRC-32"), std::string::npos) << run.out;
}

TEST(PgmconvFlash, LayoutErrorsNameBothRangesAndWriteNothing)
{
    SCRATCH_DIR dir;
    make_sof(dir.file("d.sof"), "5ZV066H2", 0x20000, 1);
    make_raw(dir.file("data.bin"), 100000);
    struct CASE
    {
        uint32_t page_start;
        uint32_t raw_address;
        const char* message;
    };
    const CASE cases[] = {
        {0x100000, 0x110000,
         "partition 'Page_0' (0x00100000..0x0012ffff) overlaps partition 'DATA' (0x00110000..0x0012ffff)"},
        {0x101000, 0x400000, "start address 0x00101000 of 'Page_0' is not on an erase sector boundary"},
        {0x100000, 0x7F0000,
         "partition 'DATA' (0x007f0000..0x0080ffff) is outside the flash VQ64A, the available "
         "range is only (0x00000000..0x007fffff)"},
    };
    const std::vector<std::string> before = listing(dir);
    for (const CASE& c : cases)
    {
        auto ccf = new_flash_ccf(dir.file("out.pof"), "VQ64A", dir.file("d.sof"));
        ccf->set_auto_create_rpd_output(true);
        ccf->set_addr_scheme(0, PGMIO_ADDR_FIXED_START);
        ccf->set_start_address(c.page_start, 0);
        const HEX_FILE raw{FIO_PATH(dir.file("data.bin")), "DATA", PGMIO_CCF_AUTO, true};
        ASSERT_TRUE(ccf->add_rbf_file(&raw, PGMIO_CCF_AUTO, c.raw_address));
        EXPECT_FALSE(PGMIO_F2P::convert_sram_files(*ccf));
        EXPECT_NE(ccf->get_error().find(c.message), std::string::npos) << ccf->get_error();
        EXPECT_EQ(listing(dir), before);
    }
    // Failing half-way, after the .pof was complete, takes the .pof back too.
    auto ccf = new_flash_ccf(dir.file("out.pof"), "VQ64A", dir.file("d.sof"));
    ccf->set_auto_create_rpd_output(true);
    ccf->set_auto_create_rpd_path(FIO_PATH(dir.file("missing/out.rpd")));
    EXPECT_FALSE(PGMIO_F2P::convert_sram_files(*ccf));
    EXPECT_NE(ccf->get_error().find("missing/out.rpd"), std::string::npos) << ccf->get_error();
    EXPECT_EQ(listing(dir), before);
}

// Page files held in memory after measuring and those read again give the same flash; a file read
// again must not have changed since it was measured.
TEST(PgmconvFlash, APageIsWrittenAsMeasured)
{
    SCRATCH_DIR dir;
    make_sof(dir.file("d.sof"), "9RX027R1B", 0x30000, 1);
    auto ccf = new_flash_ccf(dir.file("out.pof"), "VQ64A", dir.file("d.sof"));
    std::string error;
    // The flash of a layout, the input replaced by one of `seed` between measuring and writing.
    const auto walk = [&](uint64_t hold_budget, uint64_t seed, PGMIO_BYTES& flash)
    {
        PGMCONV_LAYOUT layout;
        layout.hold_budget = hold_budget;
        if (!pgmconv_build_layout(ccf->state(), true, layout, error))
            return false;
        make_sof(dir.file("d.sof"), "9RX027R1B", 0x30000, seed);
        const auto sink = [&flash](const PGMCONV_ITEM& item, uint64_t offset, std::span<const uint8_t> bytes)
        {
            flash.resize(std::max<uint64_t>(flash.size(), item.data_start + offset + bytes.size()));
            std::copy(bytes.begin(), bytes.end(), flash.begin() + long(item.data_start + offset));
            return true;
        };
        return pgmconv_walk_layout(ccf->state(), layout, sink, error);
    };
    const uint64_t all = uint64_t(1) << 30;
    PGMIO_BYTES held, read_again, held_then_changed, read_after_change;
    ASSERT_TRUE(walk(all, 1, held)) << error;
    ASSERT_TRUE(walk(0, 1, read_again)) << error;
    EXPECT_TRUE(held == read_again);
    ASSERT_TRUE(walk(all, 2, held_then_changed)) << error;
    EXPECT_TRUE(held_then_changed == held);
    EXPECT_FALSE(walk(0, 3, read_after_change));
    EXPECT_NE(error.find("changed while the conversion ran"), std::string::npos) << error;
}

TEST(PgmconvFlash, RawProgrammingDataOfSramObjectsWithBitSwap)
{
    SCRATCH_DIR dir;
    const std::string rbf = make_sof(dir.file("d.sof"), "5ZV066H2", 0x9000, 4);
    auto ccf = new_ccf(dir.file("d.rpd"));
    ccf->get_file_options()->write_rpd_from_sof = true;
    ccf->get_file_options()->start_address = 0x20000;
    ccf->set_no_bit_swap(false);
    ASSERT_TRUE(ccf->add_sof_file(FIO_PATH(dir.file("d.sof")), 0, 0, 0));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*ccf)) << ccf->get_error();
    const std::string rpd = read_file(dir.file("d.rpd"));
    ASSERT_EQ(rpd.size(), 0x30000u); // through the last used 64 KiB sector
    EXPECT_EQ(rpd.find_first_not_of('\xFF'), 0x20000u);
    for (size_t i = 0; i < rbf.size(); ++i)
    {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            reversed |= ((uint8_t(rbf[i]) >> bit) & 1u) << (7 - bit);
        ASSERT_EQ(uint8_t(rpd[0x20000 + i]), reversed) << i;
    }
    const auto run = run_program(CORVANE_EXE, "--info " + dir.file("d.rpd"));
    EXPECT_EQ(run.status, 0) << run.output();
    EXPECT_NE(run.out.find("bits of each byte reversed"), std::string::npos);
}

// Where the first page lands, and which directory the flash carries, per kind of flash.
TEST(PgmconvFlash, PlacementFollowsTheFlashKind)
{
    SCRATCH_DIR dir;
    struct CASE
    {
        const char* device;
        const char* flash;
        const char* page_name;
        bool options_area;
        uint64_t page_start;
        const char* directory;
    };
    const CASE cases[] = {
        {"NR08SA", "NR08SA", "CFM0", false, 0x48000, "option bits at 0x00010000"}, // internal flash, UFM at 0
        {"3ZT085F2", "CFI128M", "", true, 0x20000, "option bits at 0x00000000"},   // options area, 128 KiB sectors
        {"5ZV066H2", "VQ64A", "", false, 0, "option bits at 0x00010000"},          // after the content
        {"7TR440PA3R1", "VQ64A", "", false, 0x40000, "boot information at 0x00000000"},
    };
    for (const CASE& c : cases)
    {
        SCOPED_TRACE(c.flash);
        make_sof(dir.file("d.sof"), c.device, 0x2000, 7);
        auto ccf = new_flash_ccf(dir.file("f.pof"), c.flash, dir.file("d.sof"));
        ccf->set_options_area(c.options_area);
        ccf->set_page_user_name(c.page_name, 0);
        // The user flash memory content comes from the device options.
        const std::string ufm = make_raw(dir.file("ufm.bin"), 5000);
        auto options = std::make_unique<DSET_ZB_DEV_OPTIONS_INFO>();
        options->ufm_source = DSET_ZB_UFM_SOURCE_FILE;
        options->ufm_source_file = dir.file("ufm.bin");
        ccf->set_dev_options(std::move(options));
        ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*ccf)) << ccf->get_error();
        PGMIO_FLASH_IMAGE flash;
        std::string error;
        ASSERT_TRUE(PGMIO_FLASH_FILE::read(dir.file("f.pof"), flash, error)) << error;
        EXPECT_EQ(flash.pages.at(0).start, c.page_start);
        const bool has_ufm = std::any_of(flash.blocks.begin(), flash.blocks.end(),
                                         [&ufm](const PGMIO_FLASH_BLOCK& b) {
                                             return b.address == 0 && std::string(b.data.begin(), b.data.end()) == ufm;
                                         });
        EXPECT_EQ(has_ufm, std::string(c.device) == "NR08SA");
        const auto run = run_program(CORVANE_EXE, "--info " + dir.file("f.pof"));
        EXPECT_EQ(run.status, 0) << run.output();
        EXPECT_NE(run.out.find(c.directory), std::string::npos) << run.out;
    }
}

TEST(PgmconvPartialReconfiguration, MaskAndRawBinaryOfARegion)
{
    SCRATCH_DIR dir;
    const PGMIO_PMSF_IMAGE region = corvane_test::small_pmsf();
    std::string error;
    ASSERT_TRUE(PGMIO_PMSF::write(dir.file("r.pmsf"), region, error)) << error;
    for (const char* output : {"r.msf", "pr.rbf"})
    {
        auto ccf = new_ccf(dir.file(output));
        ASSERT_TRUE(PGMIO_PR_INTERFACE::read_pmsf_file(ccf.get(), FIO_PATH(dir.file("r.pmsf")))) << ccf->get_error();
        ASSERT_TRUE(ccf->add_pr_sof_file(FIO_PATH(dir.file("r.pmsf")), PGMIO_CCF_AUTO, PGMIO_ADDR_AUTO, 0, 0));
        ASSERT_TRUE(PGMIO_PR_INTERFACE::process_pr_commands(ccf.get())) << ccf->get_error();
    }
    PGMIO_MSF_IMAGE msf;
    PGMIO_CONFIG_DATA config;
    ASSERT_TRUE(PGMIO_MSF::read(dir.file("r.msf"), msf, error) && PGMIO_RBF::read(dir.file("pr.rbf"), config, error))
        << error;
    EXPECT_EQ(msf.mask, region.mask);
    EXPECT_EQ(msf.region_offset, region.region_offset);
    EXPECT_EQ(config.find(PGMIO_SECTION_CORE)->data, region.data);
    EXPECT_EQ(config.flags, PGMIO_DESIGN_PR);
}

TEST(PgmconvChain, ElementsReadTheirFileAndHelperImagesComeFromTheCatalogue)
{
    SCRATCH_DIR dir;
    make_sof(dir.file("d.sof"), "7TR440PA3R1", 0x8000, 5);
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view("7TR440PA3R1"));
    FIO_PATH helper;
    ASSERT_TRUE(PGM_CHAIN_ELEMENT::get_helper_filename(device, helper, false, nullptr, 3));
    EXPECT_EQ(helper.get_base_name(), "HLP_ZIZIRA_FUSE");
    EXPECT_FALSE(PGM_CHAIN_ELEMENT::get_helper_filename(PGM_DEVICE_INDEX::lookup_device(std::string_view("5ZV066H2")),
                                                        helper, false, nullptr, 2));

    auto* element = new PGM_CHAIN_ELEMENT(device);
    ASSERT_TRUE(PGM_CHAIN_ELEMENT::get_helper_filename(device, helper, false, nullptr, 3));
    element->set_programming_file(helper);
    element->set_fw_source(dir.file("d.sof"));
    ASSERT_TRUE(element->create_chain_element(element, true, nullptr, false, 0, false, false)) << element->error();
    auto ccf = new_ccf(dir.file("unused.rbf"));
    ASSERT_TRUE(ccf->add_chain_element(element, 0, 0, PGMIO_CCF_AUTO));
    const FIO_PATH out(dir.file("helper.rbf"));
    ccf->set_hlpr_file(&out);
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*ccf)) << ccf->get_error();
    PGMIO_HELPER_IMAGE written;
    PGMIO_SOF_IMAGE sof;
    std::string error;
    ASSERT_TRUE(PGMIO_HELPER::read(out.get_full_path(), written, error) &&
                PGMIO_SOF::read(dir.file("d.sof"), sof, error))
        << error;
    EXPECT_EQ(written.subtype, DEV_HELPER_SUBTYPE_FUSE);
    EXPECT_EQ(written.config.find(PGMIO_SECTION_FIRMWARE)->data, sof.config.find(PGMIO_SECTION_FIRMWARE)->data);

    make_sof(dir.file("cvp.sof"), "5ZV066H2", 0x8000, 6);
    PGMIO_SOF_IMAGE cvp;
    ASSERT_TRUE(PGMIO_SOF::read(dir.file("cvp.sof"), cvp, error));
    cvp.flags = cvp.config.flags = PGMIO_DESIGN_CVP;
    cvp.config.sections.insert(cvp.config.sections.begin(), {PGMIO_SECTION_PERIPHERY, PGMIO_BYTES(16, 1)});
    ASSERT_TRUE(PGMIO_SOF::write(dir.file("cvp.sof"), cvp, error)) << error;
    // A CvP conversion writes the periphery and the core apart; together they are the design.
    auto split = new_ccf(dir.file("cvp.rbf"));
    split->get_file_options()->write_rbf = true;
    split->set_cvp(true);
    ASSERT_TRUE(split->add_sof_file(FIO_PATH(dir.file("cvp.sof")), 0, 0, 0));
    ASSERT_TRUE(PGMIO_F2P::convert_sram_files(*split)) << split->get_error();
    PGMIO_CONFIG_DATA periphery;
    PGMIO_CONFIG_DATA core;
    ASSERT_TRUE(PGMIO_RBF::read(dir.file("cvp.periph.rbf"), periphery, error) &&
                PGMIO_RBF::read(dir.file("cvp.core.rbf"), core, error))
        << error;
    EXPECT_FALSE(std::filesystem::exists(dir.file("cvp.rbf")));
    periphery.sections.insert(periphery.sections.end(), core.sections.begin(), core.sections.end());
    std::stable_sort(periphery.sections.begin(), periphery.sections.end(),
                     [](const auto& a, const auto& b)
                     { return (a.tag == PGMIO_SECTION_CORE) < (b.tag == PGMIO_SECTION_CORE); });
    EXPECT_EQ(periphery.sections, cvp.config.sections);
}

} // namespace
