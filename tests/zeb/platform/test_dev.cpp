// SPDX-License-Identifier: Apache-2.0
// Device database and flash-device database: the shipped catalogue checked as data, look-ups,
// catalogue and custom files with faults, and the listing modes of the executable.
#include "pgm/zeb/platform/dev/dev.h"
#include "test_support.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace
{

using corvane_test::read_file;
using corvane_test::SCRATCH_DIR;
using corvane_test::write_file;

// Every custom-directory test starts and ends without a custom directory.
class DevCustomDir : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(GFPDB_QSPI_MGR::set_db_custom_dir("")); }
    void TearDown() override { GFPDB_QSPI_MGR::set_db_custom_dir(""); }
    SCRATCH_DIR m_dir;
};

const char* const k_custom_device = R"({"format": "corvane-flash-devices", "version": 1, "flash_devices": [
    {"name": "USR_QF128", "family": 10, "size": "0x01000000", "sector_size": "0x00010000", "page_size": 256,
     "silicon_id": "0x00AB18", "address_bytes": 3, "data_widths": [1, 4],
     "commands": {"READ_ID": "0x9F", "READ": "0x03", "PAGE_PROGRAM": "0x02", "SECTOR_ERASE": "0xD8",
                  "READ_STATUS": "0x05", "WRITE_ENABLE": "0x06"}}]})";

std::string replace_first(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    if (at == std::string::npos)
        throw std::runtime_error("test text not found: " + from);
    return text.replace(at, from.size(), to);
}

} // namespace

// ---- The shipped catalogue -----------------------------------------------------------------------

TEST(DevCatalogue, LoadsAndCoversEveryFamily)
{
    ASSERT_EQ(PGM_DEVICE_INDEX::get_catalogue_error(), "");
    const std::set<uint32_t> expected = {10, 15, 16, 22, 23, 25, 37, 44, 45, 47, 64, 67, 68};
    std::set<uint32_t> declared;
    for (const DEV_FAMILY_RECORD& family : PGM_DEVICE_INDEX::get_families())
    {
        declared.insert(family.family);
        const PGM_DEVICE* first = PGM_DEVICE_INDEX::get_first_device_of_family(family.family);
        ASSERT_NE(first, nullptr) << "family without device: " << family.name;
        EXPECT_EQ(first->is_flash_device(), family.configuration_device) << family.name;
    }
    EXPECT_EQ(declared, expected);
    EXPECT_EQ(PGM_DEVICE_INDEX::find_family(DEV_FAMILY_ZIZIRA)->name, "ZIZIRA");
    EXPECT_EQ(PGM_DEVICE_INDEX::find_family(static_cast<DEV_FAMILY_ENUM>(99)), nullptr);
}

TEST(DevCatalogue, CrossReferencesResolve)
{
    // Only the generic device goes without a JTAG identity.
    EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device(static_cast<DEV_DEVICE_ENUM>(867))->get_family(), DEV_FAMILY_GENERIC);
    for (const PGM_DEVICE* d : PGM_DEVICE_INDEX::get_all_devices())
    {
        const DEV_DEVICE_RECORD* f = d->get_fpga_record();
        if (!f)
            continue;
        // The PCF record the device names is the one its container hands out.
        ASSERT_NE(d->get_pcf_info(), nullptr) << f->name;
        const auto* list = d->get_pcf_info()->get_pcf_file_info(d->get_pcf_name());
        ASSERT_TRUE(list && !list->empty()) << f->name;
        EXPECT_EQ(list->front().zeb_file_mask, f->pcf.zeb_file_mask);
        for (const DEV_HELPER_IMAGE& image : f->helper_images)
            EXPECT_EQ(f->find_helper_image(image.subtype), &image);
        uint32_t code = 0;
        EXPECT_EQ(f->jtag.find_instruction("IDCODE", code), f->jtag.idcode != 0) << f->name;
    }
}

// ---- Look-ups ----------------------------------------------------------------------------------

TEST(DevIndex, LookupsOfDevicesAndFlashDevices)
{
    for (const PGM_DEVICE* d : PGM_DEVICE_INDEX::get_all_devices())
    {
        EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device(d->get_name()), d);
        EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device(d->get_device()), d);
    }
    EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device(DEV_DEVICE_INVALID), nullptr);
    EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device(static_cast<DEV_DEVICE_ENUM>(999999)), nullptr);
    std::string error;
    EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device("7tr440pa3r1", &error), nullptr); // names are case-sensitive
    EXPECT_NE(error.find("'7tr440pa3r1'"), std::string::npos) << error;

    EXPECT_EQ(PGM_DEVICE_INDEX::get_first_device_of_family(DEV_FAMILY_ZIZIRA)->get_name(), "7TR440PA3R1");
    EXPECT_EQ(PGM_DEVICE_INDEX::get_first_device_of_family(DEV_FAMILY_INVALID), nullptr);

    std::unique_ptr<PGM_DEVICE> flash = PGM_DEVICE_INDEX::create_new_asc_device("VQ256A");
    ASSERT_NE(flash, nullptr);
    EXPECT_TRUE(flash->is_flash_device());
    EXPECT_EQ(flash->get_family(), DEV_FAMILY_VIVERI);
    EXPECT_NE(flash.get(), PGM_DEVICE_INDEX::lookup_device("VQ256A")); // a new object, owned by the caller
    std::unique_ptr<PGM_DEVICE> chip = PGM_DEVICE_INDEX::create_new_asc_device("NR08SA");
    ASSERT_NE(chip, nullptr);
    EXPECT_EQ(chip->get_fpga_record(), PGM_DEVICE_INDEX::lookup_device("NR08SA")->get_fpga_record());
    EXPECT_EQ(PGM_DEVICE_INDEX::create_new_asc_device("NO_SUCH_DEVICE"), nullptr);

    // The flash database knows flash devices only.
    const GFPDB_QSPI_MGR db;
    EXPECT_TRUE(db.device_exist_in_db("VQ64A"));
    EXPECT_TRUE(db.device_exist_in_db("CFI128M"));
    EXPECT_FALSE(db.device_exist_in_db("7TR440PA3R1"));
    EXPECT_FALSE(db.device_exist_in_db(""));
    EXPECT_TRUE(db.device_is_legacy("VQ16L"));
    EXPECT_FALSE(db.device_is_legacy("VQ64A"));
    EXPECT_FALSE(db.device_is_legacy("NO_SUCH_FLASH"));
}

TEST(DevIndex, InfoManagerAgreesByDeviceAndByFamily)
{
    const PGMDEV_DEV_INFO_MANAGER manager(0, 0);
    for (const PGM_DEVICE* d : PGM_DEVICE_INDEX::get_all_devices())
    {
        const PGMDEV_DEV_INFO* by_device = manager.get_db_by_device(d->get_device());
        const PGMDEV_DEV_INFO* by_family = manager.get_db_by_family(d->get_family());
        ASSERT_TRUE(by_device && by_family) << d->get_name();
        EXPECT_EQ(by_device->family, d->get_family());
        EXPECT_EQ(by_device->has_cmf_flash_block_layout, by_family->has_cmf_flash_block_layout) << d->get_name();
        EXPECT_EQ(by_device->cmf_flash_block_size, by_family->cmf_flash_block_size) << d->get_name();
    }
    EXPECT_EQ(manager.get_db_by_device(DEV_DEVICE_INVALID), nullptr);
    EXPECT_EQ(manager.get_db_by_family(static_cast<DEV_FAMILY_ENUM>(99)), nullptr);
}

// ---- Faulty catalogues -------------------------------------------------------------------------

TEST(DevCatalogue, FaultsAreReportedWithFileAndProblem)
{
    const std::string devices = read_file(corvane_test::source_file("data/devices.json"));
    const std::string flash = read_file(corvane_test::source_file("data/flash_devices.json"));
    struct CASE
    {
        bool in_flash_file;
        const char* from;
        const char* to;
        const char* expected;
    };
    const CASE cases[] = {
        {false, R"("idcode": "0x17A225EF")", R"("idcode": "0x17A445EF")", "IDCODE 0x17A445EF of 7TR440PA3R1"},
        {false, R"("QSPI": "HLP_ZIZIRA_QSPI")", R"("QSPI": "HLP_NOPE")", "'HLP_NOPE' is not in the helper_images"},
        {false, R"("QSPI": "HLP_ZIZIRA_QSPI")", R"("QSPI": "HLP_ZIZIRA_FUSE")", "of subtype 37, not 293"},
        {false, R"("BYPASS": "0x3FF")", R"("BYPASS": "0x3FE")", "BYPASS must be all ones"},
        {false, R"("IDCODE": "0x006")", R"("IDCODE": "0x406")", "does not fit into 10 bits"},
        {false, R"("cmf_flash_block_size": "0x00010000")", R"("cmf_flash_block_size": "0x00020000")",
         "differ in cmf_flash_block_size"},
        {false, R"("config_data_size": "0x01A00000")", R"("config_size": "0x01A00000")", "unknown field 'config_size'"},
        {false, R"("pcf": "ZIZIRA.pcf")", R"("pcf": "NOPE.pcf")", "'NOPE.pcf' is not in the pcf list"},
        {false, R"("virtual_prog_mode_mask": "0x3")", R"("virtual_prog_mode_mask": "0x7")", "claims CvP"},
        {false, R"("key_length": 256)", R"("key_length": 200)", "key_length"},
        {false, R"("version": 1)", R"("version": 2)", "version 2 is not supported"},
        {false, R"("families": [)", R"("families": [,)", "not valid JSON"},
        {false, R"("device": 1201)", R"("device": -1)", "device: must not be negative"},
        {false, R"("device": 1202)", R"("device": 1201)", "has the device number 1201 of 7TR440PA3R1"},
        {false, R"("device": 1201)", R"("device": "12x")", "'12x' is not a number"},
        {false, R"("start": "0x00010000")", R"("start": "0x00008000")", "'CFM1' overlaps 'UFM'"},
        {false, R"("flash_loader": "FL_ZATATA",)", "", "needs a flash loader for family 10"},
        {false, R"("max_flash_size": "0x10000000", "size": "0x00060000")",
         R"("max_flash_size": "0x01000000", "size": "0x00060000")", "cannot address the device's configuration data"},
        {false, R"("config_schemes": [7, 13, 20, 21, 22])", R"("config_schemes": [7, 13, 20, 21, 22, 99])",
         "out of range"},
        {true, R"("size": "0x00800000")", R"("size": "0x00900000")", "size: 0x900000 is not a power of two"},
        {true, R"("sector_size": "0x00010000")", R"("sector_size": "0x00400000")", "sector_size"},
        {true, R"("silicon_id": "0x5E4017")", R"("silicon_id": "0x5E4015")", "silicon id 0x5E4015 of VQ16L"},
        {true, R"("name": "VQ16L")", R"("name": "NR08SA")", "has the name of NR08SA"},
        {true, R"("WRITE_ENABLE": "0x06")", R"("WRITE_ENAB": "0x06")", "'WRITE_ENABLE' is missing"},
        {true, R"("address_bytes": 4)", R"("address_bytes": 3)", "3 address bytes cannot reach"},
        {true, R"("family": 10)", R"("family": 25)", "not a declared configuration-device family"},
        {true, R"("legacy": true)", R"("legacy": "yes")", "expected true or false"},
    };
    for (const CASE& c : cases)
    {
        SCRATCH_DIR dir;
        std::filesystem::create_directory(dir.path() / "data");
        write_file(dir.file("data/devices.json"), c.in_flash_file ? devices : replace_first(devices, c.from, c.to));
        write_file(dir.file("data/flash_devices.json"), c.in_flash_file ? replace_first(flash, c.from, c.to) : flash);
        std::string error;
        EXPECT_FALSE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error)) << c.to;
        const std::string file = dir.file(c.in_flash_file ? "data/flash_devices.json" : "data/devices.json");
        EXPECT_EQ(error.rfind(file + ": ", 0), 0u) << error;
        EXPECT_NE(error.find(c.expected), std::string::npos) << "expected '" << c.expected << "' in: " << error;
    }
}

TEST(DevCatalogue, UnreadableFilesAreReported)
{
    SCRATCH_DIR dir;
    std::string error;
    EXPECT_FALSE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error));
    EXPECT_NE(error.find("data/devices.json: file does not exist"), std::string::npos) << error;

    std::filesystem::create_directories(dir.path() / "data" / "devices.json");
    EXPECT_FALSE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error));
    EXPECT_NE(error.find("is a directory"), std::string::npos) << error;

    std::filesystem::remove(dir.path() / "data" / "devices.json");
    const std::string devices = read_file(corvane_test::source_file("data/devices.json"));
    write_file(dir.file("data/devices.json"), "[1, 2]");
    EXPECT_FALSE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error));
    EXPECT_NE(error.find(dir.file("data/devices.json") + ": "), std::string::npos) << error;
    write_file(dir.file("data/devices.json"), devices);
    EXPECT_FALSE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error));
    EXPECT_NE(error.find("flash_devices.json: file does not exist"), std::string::npos) << error;
    write_file(dir.file("data/flash_devices.json"), read_file(corvane_test::source_file("data/flash_devices.json")));
    EXPECT_TRUE(PGM_DEVICE_INDEX::check_catalogue(dir.path().string(), error)) << error;
}

// ---- Custom flash-device directories -----------------------------------------------------------

TEST_F(DevCustomDir, ValidFileAddsDevices)
{
    write_file(m_dir.file("mine.json"), k_custom_device);
    write_file(m_dir.file("notes.txt"), "not a database file");
    const GFPDB_QSPI_MGR before;
    std::string error = "unchanged";
    ASSERT_TRUE(GFPDB_QSPI_MGR::set_db_custom_dir(m_dir.path().string(), &error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(GFPDB_QSPI_MGR::get_db_custom_dir(), m_dir.path().string());

    const GFPDB_QSPI_MGR after;
    EXPECT_TRUE(after.device_exist_in_db("USR_QF128"));
    EXPECT_FALSE(after.device_exist_in_db("USR_QF128", false));
    EXPECT_FALSE(after.device_is_legacy("USR_QF128"));
    EXPECT_FALSE(before.device_exist_in_db("USR_QF128")); // a manager keeps the set it was made with
    const DEV_FLASH_RECORD* record = after.find_device("USR_QF128");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->source, m_dir.file("mine.json"));
    EXPECT_EQ(after.get_devices().size(), after.get_devices(false).size() + 1);

    std::unique_ptr<PGM_DEVICE> object = PGM_DEVICE_INDEX::create_new_asc_device("USR_QF128");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->get_family(), DEV_FAMILY_VIVERI);
    EXPECT_EQ(object->get_pcf_info(), nullptr);
    EXPECT_EQ(PGM_DEVICE_INDEX::lookup_device("USR_QF128"), nullptr); // not part of the device catalogue

    ASSERT_TRUE(GFPDB_QSPI_MGR::set_db_custom_dir(""));
    EXPECT_FALSE(GFPDB_QSPI_MGR().device_exist_in_db("USR_QF128"));
    EXPECT_EQ(record->name, "USR_QF128"); // records handed out stay valid
}

TEST_F(DevCustomDir, MalformedFileIsReportedWithItsName)
{
    const std::string good = k_custom_device;
    const std::pair<std::string, const char*> cases[] = {
        {"", "not valid JSON"},
        {good.substr(0, 60), "not valid JSON"},
        {replace_first(good, R"("family": 10)", R"("family": 25)"), "family: 25 is not 10"},
        {replace_first(good, R"("size": "0x01000000")", R"("size": "0x01000001")"), "not a power of two"},
        {replace_first(good, R"("READ_ID": "0x9F", )", ""), "'READ_ID' is missing"},
        {replace_first(good, R"("family": 10)", R"("family": 10, "device": 5)"), "unknown field 'device'"},
        {replace_first(good, "corvane-flash-devices", "something-else"), "format: 'something-else'"},
        {replace_first(good, R"("page_size": 256)", R"("page_size": 256.5)"), "must be a whole number"},
        {replace_first(good, R"("name": "USR_QF128")", R"("name": "has blank")"), "is not a valid name"},
        {replace_first(good, R"("name": "USR_QF128")", R"("name": "VQ64A")"), "already a device of the catalogue"},
        {replace_first(good, R"("page_size": 256)", R"("page_size": "0x123456789012345678901")"), "not a number"},
        {replace_first(good, R"("page_size": 256)", R"("page_size": 256, "sector_erase_us": 0)"), "must not be 0"},
        {replace_first(good, R"("page_size": 256)", R"("page_size": 256, "page_program_us": 60000001)"),
         "page_program_us"},
    };
    for (const auto& [content, expected] : cases)
    {
        write_file(m_dir.file("a_good.json"), replace_first(good, "USR_QF128", "USR_OTHER"));
        write_file(m_dir.file("broken.json"), content);
        ASSERT_TRUE(GFPDB_QSPI_MGR::set_db_custom_dir(""));
        std::string error;
        EXPECT_FALSE(GFPDB_QSPI_MGR::set_db_custom_dir(m_dir.path().string(), &error)) << content;
        EXPECT_EQ(error.rfind(m_dir.file("broken.json") + ": ", 0), 0u) << error;
        EXPECT_NE(error.find(expected), std::string::npos) << "expected '" << expected << "' in: " << error;
        EXPECT_EQ(GFPDB_QSPI_MGR::last_error(), error);
        // Nothing of a broken directory is used, not even its good files.
        EXPECT_FALSE(GFPDB_QSPI_MGR().device_exist_in_db("USR_OTHER"));
        EXPECT_EQ(GFPDB_QSPI_MGR::get_db_custom_dir(), "");
    }
}

TEST_F(DevCustomDir, DuplicatesAndMissingDirectories)
{
    write_file(m_dir.file("one.json"), k_custom_device);
    write_file(m_dir.file("two.json"), k_custom_device);
    std::string error;
    EXPECT_FALSE(GFPDB_QSPI_MGR::set_db_custom_dir(m_dir.path().string(), &error));
    EXPECT_NE(error.find(m_dir.file("two.json") + ": flash device 'USR_QF128' is already defined in " +
                         m_dir.file("one.json")),
              std::string::npos)
        << error;

    EXPECT_FALSE(GFPDB_QSPI_MGR::set_db_custom_dir(m_dir.file("missing"), &error));
    EXPECT_NE(error.find(m_dir.file("missing") + ": custom database directory does not exist"), std::string::npos);
    EXPECT_FALSE(GFPDB_QSPI_MGR::set_db_custom_dir(m_dir.file("one.json"), &error));
    EXPECT_NE(error.find("is not a directory"), std::string::npos) << error;
    // A directory without database files is valid.
    EXPECT_TRUE(GFPDB_QSPI_MGR::set_db_custom_dir(SCRATCH_DIR().path().string(), &error)) << error;
}

// ---- The executable ----------------------------------------------------------------------------

TEST(DevCli, ListingsShowTheWholeCatalogue)
{
    corvane_test::PROGRAM_RUN run = corvane_test::corvane("--list-devices --json");
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::json devices = nlohmann::json::parse(run.out);
    size_t fpga_count = 0;
    for (const PGM_DEVICE* d : PGM_DEVICE_INDEX::get_all_devices())
        fpga_count += d->get_fpga_record() != nullptr;
    ASSERT_EQ(devices.size(), fpga_count);
    for (const nlohmann::json& entry : devices)
    {
        const PGM_DEVICE* found = PGM_DEVICE_INDEX::lookup_device(entry.at("name").get<std::string>());
        const DEV_DEVICE_RECORD* d = found ? found->get_fpga_record() : nullptr;
        ASSERT_NE(d, nullptr) << entry;
        EXPECT_EQ(entry.at("device").get<uint32_t>(), d->device);
        EXPECT_EQ(std::stoul(entry.at("jtag").at("idcode").get<std::string>(), nullptr, 16), d->jtag.idcode);
        EXPECT_EQ(entry.at("cmf_flash_block_size").is_null(), !d->has_cmf_flash_block_layout);
    }
    // Modes are named as setup documents write them.
    const auto as = std::find_if(devices.begin(), devices.end(),
                                 [](const nlohmann::json& entry) { return entry.at("name") == "7TR440PA3R1"; });
    ASSERT_NE(as, devices.end());
    EXPECT_EQ(as->at("modes"), nlohmann::json({"ASX1", "ASX4", "AVSTX8", "AVSTX16", "AVSTX32"}));

    run = corvane_test::corvane("--list-flash-devices");
    ASSERT_EQ(run.status, 0) << run.err;
    for (const DEV_FLASH_RECORD* f : GFPDB_QSPI_MGR().get_devices(false))
        EXPECT_NE(run.out.find("\n" + f->name + " "), std::string::npos) << f->name;
}
