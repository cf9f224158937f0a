// SPDX-License-Identifier: Apache-2.0
// A valid document is never refused: for every enabled configuration mode and every output type a
// setup document can name in it, a document that a front end would build from real input files
// passes the whole check. The devices, flash devices and inputs are chosen from the catalogue by
// what the type needs, so the table follows the catalogue and the capability tables.
#include "test_zeb_util_check_support.h"

#include <algorithm>
#include <optional>

namespace
{

using namespace check_test;

template <class T> bool contains(const std::vector<T>& list, T value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool is_periphery_type(ZEB_FILE_TYPE type)
{
    return type == ZEB_FILE_TYPE_RBF_CVP_CORE || type == ZEB_FILE_TYPE_RBF_PERIPHERY ||
           type == ZEB_FILE_TYPE_JIC_PERIPHERY || type == ZEB_FILE_TYPE_POF_PERIPHERY ||
           type == ZEB_FILE_TYPE_RPD_PERIPHERY;
}

// Whether the FPGA can be the target of an output of `type` in `mode`; with `any_scheme` the FPGA
// need not be configured in that mode.
bool device_suits(const DEV_DEVICE_RECORD& fpga, PGMIO_CONFIG_SCHEME mode, ZEB_FILE_TYPE type, bool any_scheme)
{
    if (fpga.jtag.idcode == 0 || !ZEB_DB_UTIL::is_supported_family(fpga.family) ||
        (!any_scheme && !fpga.supports_config_scheme(mode)))
        return false;
    const std::vector<DEV_FAMILY_ENUM> families = ZEB_DB::get_supported_family(type);
    if (!families.empty() && !contains(families, fpga.family))
        return false;
    if (ZEB_DB::get_require_flash_loader(type) && !fpga.has_flash_loader)
        return false;
    const DEV_CAPABILITIES& capabilities = fpga.capabilities;
    if (is_periphery_type(type))
        return capabilities.cvp;
    switch (type)
    {
    case ZEB_FILE_TYPE_RBF_HPS_CORE:
        return capabilities.hps;
    case ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION:
        return capabilities.partial_reconfiguration;
    case ZEB_FILE_TYPE_EKP:
        return capabilities.design_security;
    case ZEB_FILE_TYPE_HELPER_RBF:
    case ZEB_FILE_TYPE_HELPER_RBF_SECONDARY:
        return fpga.find_helper_image(DEV_HELPER_SUBTYPE_QSPI) != nullptr;
    default:
        return true;
    }
}

// A configuration device that a flash programming file of `type` can program for `fpga` in `mode`:
// a flash device of the catalogue, or the FPGA itself when its own internal flash is the target.
std::optional<std::string> flash_device_for(const DEV_DEVICE_RECORD& fpga, PGMIO_CONFIG_SCHEME mode, ZEB_FILE_TYPE type)
{
    const std::vector<DEV_FAMILY_ENUM> scheme_families = ZEB_DB::get_config_device_family(mode);
    const auto suits = [&](DEV_FAMILY_ENUM family)
    {
        if (!ZEB_DB::supports_config_device_family(type, family))
            return false;
        if (!scheme_families.empty() && !contains(scheme_families, family))
            return false;
        return !ZEB_DB::get_require_flash_loader(type) || contains(fpga.flash_loader.flash_families, family);
    };
    if (!fpga.internal_flash.empty() && suits(fpga.family))
        return fpga.name;
    const GFPDB_QSPI_MGR flash_db;
    for (const DEV_FLASH_RECORD* flash : flash_db.get_devices(false))
        if (!flash->legacy && suits(flash->family))
            return flash->name;
    return std::nullopt;
}

// Adds to `document` what an output of `type` needs for `fpga` in `mode`, false when the catalogue
// lacks a configuration device for it. The bitstream "b1" (an SRAM object file, with the split or
// HPS that the type writes, or a partial-masked one for an output that takes only those) is the
// document's one input, as the player files need. A helper image names its device, a flash
// programming file programs a configuration device whose partition holds "b1".
bool add_output(PGM_COMMON_XML_ZEB_ZEB* document, const SCRATCH_DIR& dir, PGMIO_CONFIG_SCHEME mode,
                const DEV_DEVICE_RECORD& fpga, ZEB_FILE_TYPE type)
{
    const PGM_COMMON_XML_ENUM xml_type = ZEB_DB::get_xml_enum(type);
    const bool helper = ZEB_DB::get_no_input_file(type);
    const bool flash = !helper && !ZEB_DB::get_config_device_family(type).empty();
    const std::optional<std::string> flash_device = flash ? flash_device_for(fpga, mode, type) : std::nullopt;
    if (flash && !flash_device)
        return false;
    if (!ZEB_FILE_ASSISTANT::get_bitstream_element(document, "b1"))
    {
        const std::vector<FIO_FILE_TYPE> accepted = ZEB_DB::get_input_file_type(type);
        const std::string stem = fpga.name + "_" + std::to_string(type) + "_" + std::to_string(mode);
        const uint32_t flags = is_periphery_type(type)              ? PGMIO_DESIGN_CVP
                               : type == ZEB_FILE_TYPE_RBF_HPS_CORE ? PGMIO_DESIGN_HPS
                                                                    : 0;
        add_bitstream(document, "b1",
                      !accepted.empty() && !contains(accepted, FIO_FILE_TYPE_SOF)
                          ? make_pmsf(dir, stem + ".pmsf", fpga.name)
                          : make_sof(dir, stem + ".sof", fpga.name, flags));
    }
    if (helper)
        add_output_file(document, xml_type,
                        {{ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, value_of(PGM_COMMON_XML_ENUM_QSPI)},
                         {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, fpga.name}});
    else if (!flash)
        add_output_for_bitstream(document, xml_type, "b1");
    else
    {
        add_flash_device(document, "flash", *flash_device);
        const std::string partition = *flash_device == fpga.name ? "CFM0" : "P1";
        add_partition(document, "flash", partition, "0x00100000", "auto");
        assign_bitstream(document, partition, "b1");
        if (ZEB_DB::get_require_flash_loader(type))
            set_flash_loader(document, fpga.name);
        add_output_for_flash_device(document, xml_type, "flash");
    }
    return true;
}

// The first catalogue FPGA that suits every type given in `mode`. When every type is independent
// of the mode, an FPGA that is not configured in it serves as well: the helper images belong to
// families that the passive modes do not configure.
const DEV_DEVICE_RECORD* device_for(PGMIO_CONFIG_SCHEME mode, const std::vector<ZEB_FILE_TYPE>& types)
{
    const bool independent = std::all_of(types.begin(), types.end(), ZEB_DB::get_independent_of_mode);
    for (bool any_scheme : {false, independent})
        for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        {
            const DEV_DEVICE_RECORD* fpga = device->get_fpga_record();
            const auto suits = [&](ZEB_FILE_TYPE type) { return device_suits(*fpga, mode, type, any_scheme); };
            if (fpga && std::all_of(types.begin(), types.end(), suits))
                return fpga;
        }
    return nullptr;
}

} // namespace

TEST(ZebCheckMatrix, EveryNameableTypeOfEveryEnabledModeHasAValidDocument)
{
    SCRATCH_DIR dir;
    size_t checked = 0;
    for (PGMIO_CONFIG_SCHEME mode : ZEB_DB_UTIL::get_enabled_config_modes())
    {
        const PGM_COMMON_XML_ENUM xml_mode = ZEB_DB::get_xml_enum(mode);
        ASSERT_NE(xml_mode, PGM_COMMON_XML_ENUM__INVALID__) << "enabled mode " << mode << " has no document value";
        // Several widths share one document value; the check driver is then called with the width
        // itself, as a front end that knows it does.
        const bool named_by_document = ZEB_FILE_ASSISTANT::map_enum_to_config_mode(xml_mode) == mode;
        // The types a document in the mode can hold: those of the mode's list and the mode-independent
        // ones, when the document has a name for them.
        for (ZEB_FILE_TYPE type : ZEB_DB::get_all_output_file_type_keys())
        {
            const bool offered = ZEB_DB::supports_output_file_type(mode, type) || ZEB_DB::get_independent_of_mode(type);
            if (!offered || ZEB_DB::get_xml_enum(type) == PGM_COMMON_XML_ENUM__INVALID__)
                continue;
            SCOPED_TRACE("mode " + ZEB_DB_UTIL::get_config_scheme_name(mode) + ", type " +
                         ZEB_DB::get_description(type) + " (" + std::to_string(type) + ")");

            // A secondary type is written beside the first primary type of the mode that writes it.
            std::vector<ZEB_FILE_TYPE> types = {type};
            for (ZEB_FILE_TYPE primary : ZEB_DB::get_output_file_type(mode))
                if (types.size() == 1 && ZEB_DB::get_secondary(type) && !ZEB_DB::get_secondary(primary) &&
                    ZEB_DB::supports_secondary_file_type(primary, type))
                    types.insert(types.begin(), primary);
            ASSERT_EQ(types.size(), ZEB_DB::get_secondary(type) ? 2u : 1u) << "a secondary type without primary";
            // Every combination can be built with the shipped catalogue.
            DOCUMENT document = make_document(xml_mode);
            const DEV_DEVICE_RECORD* fpga = device_for(mode, types);
            ASSERT_TRUE(fpga) << "no catalogue device supports the mode and the type";
            for (ZEB_FILE_TYPE part : types)
                ASSERT_TRUE(add_output(document.get(), dir, mode, *fpga, part))
                    << "no configuration device for " << fpga->name;

            bool flag1 = false, flag2 = false, error = false;
            std::string message;
            const bool valid = named_by_document
                                   ? ZEB_UTIL::check(document.get(), flag1, flag2, message, error, false)
                                   : ZEB_UTIL::check_output_files(document.get(), mode, flag1, flag2, message, error);
            EXPECT_TRUE(valid) << "device " << fpga->name << ": " << message;
            EXPECT_FALSE(error);
            ++checked;
        }
    }
    // Ten enabled modes, each with its own list plus the six mode-independent types.
    EXPECT_GE(checked, 10u * 6u);
}
