// SPDX-License-Identifier: Apache-2.0
// Shared by the validation tests: real input files for catalogue devices, and setup documents built
// through ZEB_FILE_ASSISTANT::set the way a front end builds them from its options.
#pragma once

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace check_test
{

using corvane_test::SCRATCH_DIR;
using DOCUMENT = std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB>;
using PARAMS = ZEB_FILE_ASSISTANT::PARAM_LIST;
using DOC = PGM_COMMON_XML_ZEB_ZEB*;

// Payload bytes of the designs made here: small, so that every catalogue device takes them.
inline constexpr uint64_t DESIGN_SIZE = 4096;

// The condition text of the internal error that ZEB_UTIL raises in `call`.
template <class CALL> std::string internal_error_of(CALL call)
{
    return corvane_test::internal_error_of(call, "pgm/zeb/zeb_util");
}

// The pairs of `list` followed by those of `more`.
inline PARAMS joined(PARAMS list, const PARAMS& more)
{
    list.insert(list.end(), more.begin(), more.end());
    return list;
}

// A parameter value for an enumerated attribute: its XML value in decimal, as front ends pass it.
inline std::string value_of(PGM_COMMON_XML_ENUM value)
{
    return std::to_string(static_cast<uint32_t>(value));
}

// ---- Input files ---------------------------------------------------------------------------------

// Writes a design for the catalogue device `device_name` with the design flags given (PGMIO_DESIGN_*)
// into `dir`: an SRAM object file (.sof), or its raw binary configuration data (.rbf) with
// `raw_binary`; returns its full path, or "" with a test failure.
inline std::string make_sof(const SCRATCH_DIR& dir, const std::string& file_name, const std::string& device_name,
                            uint32_t flags = 0, uint64_t seed = 1, bool raw_binary = false)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(device_name);
    BITASM_OPTIONS options;
    options.design_name = file_name;
    options.flags = flags;
    options.seed = seed;
    options.size = DESIGN_SIZE;
    PGMIO_SOF_IMAGE sof;
    PGMIO_CONFIG_DATA data;
    std::string error = "no catalogue device " + device_name;
    const std::string path = dir.file(file_name);
    const bool written =
        device &&
        (raw_binary ? BITASM_MGR::assemble_configuration_data(*device, options, data, error) &&
                          PGMIO_RBF::write(path, data, error)
                    : BITASM_MGR::assemble_sof(*device, options, sof, error) && PGMIO_SOF::write(path, sof, error));
    if (written)
        return path;
    ADD_FAILURE() << file_name << ": " << error;
    return "";
}

inline std::string make_rbf(const SCRATCH_DIR& dir, const std::string& file_name, const std::string& device_name)
{
    return make_sof(dir, file_name, device_name, 0, 1, true);
}

// Writes a partial-masked SRAM object file (.pmsf): a small region at the start of the core section
// of the catalogue device `device_name`; returns its full path, or "" with a test failure.
inline std::string make_pmsf(const SCRATCH_DIR& dir, const std::string& file_name, const std::string& device_name)
{
    PGMIO_PMSF_IMAGE pmsf;
    pmsf.device_name = device_name;
    pmsf.design_name = file_name;
    pmsf.region_name = "region_0";
    pmsf.data.assign(16, 0x5A);
    pmsf.mask.assign(16, 0xFF);
    std::string error;
    const std::string path = dir.file(file_name);
    if (PGMIO_PMSF::write(path, pmsf, error))
        return path;
    ADD_FAILURE() << file_name << ": " << error;
    return "";
}

// Writes a file of any other kind (key files, raw data) with the given content; returns its path.
inline std::string make_file(const SCRATCH_DIR& dir, const std::string& file_name, const std::string& content)
{
    const std::string path = dir.file(file_name);
    corvane_test::write_file(path, content);
    return path;
}

// ---- Documents -----------------------------------------------------------------------------------

// Applies one parameter list through the assistant; a refused list is a test failure.
inline void set(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt, const PARAMS& params)
{
    EXPECT_TRUE(ZEB_FILE_ASSISTANT::set(object, opt, params)) << "option " << opt;
}

// A document with a settings element in `mode` (an XML value such as PGM_COMMON_XML_ENUM_ASX4).
inline DOCUMENT make_document(PGM_COMMON_XML_ENUM mode)
{
    DOCUMENT document(new PGM_COMMON_XML_ZEB_ZEB);
    set(document.get(), ZEB_CMD_OPT_SETTINGS, {{ZEB_CMD_PARAM_SETTINGS_MODE, value_of(mode)}});
    return document;
}

// An output file of `type` (its XML value) named "output" in directory "output_dir", with more
// pairs of the output file group appended (references, subtype, helper device, options).
inline void add_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ENUM type, const PARAMS& more = {})
{
    set(object, ZEB_CMD_OPT_OUTPUT_FILE,
        joined({{ZEB_CMD_PARAM_OUTPUT_FILE_TYPE, value_of(type)},
                {ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, "output_dir"},
                {ZEB_CMD_PARAM_OUTPUT_FILE_NAME, "output"}},
               more));
}

// An output file of `type` fed by the bitstream `bitstream_id`.
inline void add_output_for_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ENUM type,
                                     const std::string& bitstream_id, const PARAMS& more = {})
{
    add_output_file(object, type, joined({{ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, bitstream_id}}, more));
}

// An output file of `type` that programs the flash device `flash_device_id`.
inline void add_output_for_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ENUM type,
                                        const std::string& flash_device_id, const PARAMS& more = {})
{
    add_output_file(object, type, joined({{ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID, flash_device_id}}, more));
}

// A bitstream `id` with one input path, with more pairs of the bitstream group for that path
// (signing, encryption, key files).
inline void add_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id, const std::string& path,
                          const PARAMS& more = {})
{
    set(object, ZEB_CMD_OPT_BITSTREAM,
        joined({{ZEB_CMD_PARAM_BITSTREAM_ID, id}, {ZEB_CMD_PARAM_BITSTREAM_PATH, path}}, more));
}

// A raw data file `id` of `type` (PGM_COMMON_XML_ENUM_HEX or PGM_COMMON_XML_ENUM_RBF).
inline void add_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id, const std::string& path,
                         PGM_COMMON_XML_ENUM type)
{
    set(object, ZEB_CMD_OPT_RAW_FILE,
        {{ZEB_CMD_PARAM_RAW_FILE_ID, id},
         {ZEB_CMD_PARAM_RAW_FILE_RAW_FILE, path},
         {ZEB_CMD_PARAM_RAW_FILE_TYPE, value_of(type)}});
}

// A flash device `id` of catalogue (or custom) type `type`, without partitions.
inline void add_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id, const std::string& type)
{
    set(object, ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, id}, {ZEB_CMD_PARAM_FLASH_DEVICE_TYPE, type}});
}

// A partition of the flash device `flash_device_id`; addresses are texts ("0x10000", "auto").
inline void add_partition(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& flash_device_id,
                          const std::string& partition_id, const std::string& s_addr, const std::string& e_addr)
{
    set(object, ZEB_CMD_OPT_FLASH_DEVICE,
        {{ZEB_CMD_PARAM_FLASH_DEVICE_ID, flash_device_id},
         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, partition_id},
         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, s_addr},
         {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, e_addr}});
}

// The flash loader: the name of the device that programs the flash.
inline void set_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& name)
{
    set(object, ZEB_CMD_OPT_FLASH_LOADER, {{ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, name}});
}

// Assigns the bitstream `bitstream_id` to a partition, on page `page`.
inline void assign_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& partition_id,
                             const std::string& bitstream_id, uint32_t page = 0)
{
    set(object, ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, partition_id},
         {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, bitstream_id},
         {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, std::to_string(page)}});
}

// Assigns the raw file `raw_file_id` to a partition.
inline void assign_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& partition_id,
                            const std::string& raw_file_id)
{
    set(object, ZEB_CMD_OPT_ASSIGNMENT,
        {{ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, partition_id}, {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, raw_file_id}});
}

// What a JIC needs: the bitstream "Bitstream_1" read from `sof` (a design for 7TR440PA3R1, the flash
// loader) in partition "P1" behind the boot area of the serial flash "Flash_1" of `flash_type`, and
// the output file, with more pairs of its group.
inline void add_jic(DOC object, const std::string& sof, const std::string& flash_type, const PARAMS& more = {})
{
    add_bitstream(object, "Bitstream_1", sof);
    add_flash_device(object, "Flash_1", flash_type);
    add_partition(object, "Flash_1", "P1", "0x00040000", "auto");
    assign_bitstream(object, "P1", "Bitstream_1");
    set_flash_loader(object, "7TR440PA3R1");
    add_output_for_flash_device(object, PGM_COMMON_XML_ENUM_JIC, "Flash_1", more);
}

// ---- Checking ------------------------------------------------------------------------------------

// Everything ZEB_UTIL::check hands back.
struct CHECK_RESULT
{
    bool valid = false;
    std::string message;
    bool error = false;
    bool flash_loader_required = false; // first flag
    bool flash_programming = false;     // second flag
};

inline CHECK_RESULT run_check(PGM_COMMON_XML_ZEB_ZEB* object, bool report = false)
{
    CHECK_RESULT result;
    result.flash_loader_required = result.flash_programming = true; // for the test to see check clear them
    result.valid = ZEB_UTIL::check(object, result.flash_loader_required, result.flash_programming, result.message,
                                   result.error, report);
    return result;
}

// One document of a table: what it shows, its mode (PGM_COMMON_XML_ENUM__INVALID__: no settings),
// how it is built, and what the whole check says of it ("" when it passes) with the error flag.
struct CHECK_ROW
{
    const char* what;
    PGM_COMMON_XML_ENUM mode;
    std::function<void(DOC)> build;
    std::string message;
    bool error = false;
    int flags = -1; // when set: 1 for "needs a flash loader", plus 2 for "programs a configuration device"
};

inline void expect_check_rows(const std::vector<CHECK_ROW>& rows)
{
    for (const CHECK_ROW& row : rows)
    {
        DOCUMENT document(row.mode == PGM_COMMON_XML_ENUM__INVALID__ ? DOCUMENT(new PGM_COMMON_XML_ZEB_ZEB)
                                                                     : make_document(row.mode));
        row.build(document.get());
        const CHECK_RESULT result = run_check(document.get());
        EXPECT_EQ(result.message, row.message) << row.what;
        EXPECT_EQ(result.valid, row.message.empty()) << row.what;
        EXPECT_EQ(result.error, row.error) << row.what;
        const int flags = result.flash_loader_required + 2 * result.flash_programming;
        EXPECT_EQ(row.flags < 0 ? row.flags : flags, row.flags) << row.what;
    }
}

} // namespace check_test
