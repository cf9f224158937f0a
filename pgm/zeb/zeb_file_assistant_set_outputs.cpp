// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: the setters of what the document produces and where it goes: output files
// with their options, references and secondary file; flash devices with a partition, an MBR and an
// MBR partition; the flash loader.
//
// Each table lists the parameters a setter applies to one element. A key parameter has a row like
// any other: the element was found by the key's last value, so rewriting the key in list order
// leaves that value in place.
#include "pgm/zeb/zeb_file_assistant_frame.h"

namespace
{

constexpr ZEB_ASSISTANT_FRAME_TEXT OUTPUT_FILE_SET = {"Set output file - param list is empty",
                                                      "Set output file - missing id in param list",
                                                      {ZEB_CMD_PARAM_OUTPUT_FILE_TYPE}};
constexpr ZEB_ASSISTANT_FRAME_TEXT FLASH_DEVICE_SET = {"Set flash device - param list is empty",
                                                       "Set flash device - missing id in param list",
                                                       {ZEB_CMD_PARAM_FLASH_DEVICE_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT FLASH_LOADER_SET = {"Set flash loader - param list is empty",
                                                       "Set flash loader - missing flash loader param",
                                                       {ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER}};

// clang-format off
constexpr ZEB_ASSISTANT_ROW OUTPUT_FILE_ROWS[] = {
    {ZEB_CMD_PARAM_OUTPUT_FILE_TYPE, "type", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_NAME, "name", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, "subtype", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_HPS, "hps", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_OUTPUT_FILE_RSU_BOOT, "rsu_boot", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_OUTPUT_FILE_CVP, "cvp", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, "device", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY, "directory", ZEB_ASSISTANT_TEXT},
};

constexpr ZEB_ASSISTANT_ROW FILE_OPTIONS_ROWS[] = {
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_DIRECTION, "direction", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_BITSWAP, "bitswap", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_S_ADDR, "s_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_FREQUENCY, "frequency", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_VOLTAGE, "voltage", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_OPERATION, "operation", ZEB_ASSISTANT_ENUM},
};

// The same attributes as FILE_OPTIONS_ROWS, on the secondary file's options.
constexpr ZEB_ASSISTANT_ROW SECONDARY_FILE_OPTIONS_ROWS[] = {
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_DIRECTION, "direction", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_BITSWAP, "bitswap", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_S_ADDR, "s_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_FREQUENCY, "frequency", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_VOLTAGE, "voltage", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_OPERATION, "operation", ZEB_ASSISTANT_ENUM},
};

constexpr ZEB_ASSISTANT_ROW OUTPUT_FILE_BITSTREAM_ID_ROWS[] = {
    {ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, nullptr, ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID_SECTION, "section", ZEB_ASSISTANT_ENUM},
};

constexpr ZEB_ASSISTANT_ROW SECONDARY_FILE_ROWS[] = {
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, "type", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_NAME, "name", ZEB_ASSISTANT_TEXT},
};

// Addresses stay the user's text; sizes and selections are numbers.
constexpr ZEB_ASSISTANT_ROW FLASH_DEVICE_ROWS[] = {
    {ZEB_CMD_PARAM_FLASH_DEVICE_ID, "id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_TYPE, "type", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_WATCHDOG_VALUE, "watchdog_value", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_ENCRYPTED_POF_ONLY, "enable_encrypted_pof_only", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_JTAG_SECURITY, "enable_jtag_security", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST, "enable_test", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE_FILE, "ufm_source_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_VERIFY_PROTECT, "enable_verify_protect", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE, "ufm_source", ZEB_ASSISTANT_NUMBER},
    {ZEB_CMD_PARAM_FLASH_DEVICE_CHIP_SELECT, "chip_select", ZEB_ASSISTANT_NUMBER},
    {ZEB_CMD_PARAM_FLASH_DEVICE_FORCE_SSMCLK_TO_USE_ISMCLK, "force_ssmclk_to_use_ismclk", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_CONFIG_FROM_CFM0_ONLY, "config_from_cfm0_only", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ISP_SOURCE, "isp_source", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE, "enable_spi_mode", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_USER_IOS_WEAK_PULLUP, "enable_user_ios_weak_pullup", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_POWER_ON_SCHEME, "power_on_scheme", ZEB_ASSISTANT_NUMBER},
    {ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST, "disable_test", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_FALLBACK_ADDRESS, "fallback_address", ZEB_ASSISTANT_TEXT},
};

constexpr ZEB_ASSISTANT_ROW PARTITION_ROWS[] = {
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, "id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_RESERVED, "reserved", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_EXTRA_SPACE, "extra_space", ZEB_ASSISTANT_NUMBER},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_FIXED_S_ADDR, "fixed_s_addr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR, "s_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR, "e_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_FIXED_E_ADDR, "fixed_e_addr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_SIZE, "size", ZEB_ASSISTANT_NUMBER},
};

// The same attributes as PARTITION_ROWS, on a partition of an MBR.
constexpr ZEB_ASSISTANT_ROW MBR_PARTITION_ROWS[] = {
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_ID, "id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_RESERVED, "reserved", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_EXTRA_SPACE, "extra_space", ZEB_ASSISTANT_NUMBER},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_FIXED_S_ADDR, "fixed_s_addr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_S_ADDR, "s_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_E_ADDR, "e_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_FIXED_E_ADDR, "fixed_e_addr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_SIZE, "size", ZEB_ASSISTANT_NUMBER},
};

constexpr ZEB_ASSISTANT_ROW MBR_ROWS[] = {
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, "id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_TYPE, "type", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_S_ADDR, "s_addr", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_FLASH_DEVICE_MBR_E_ADDR, "e_addr", ZEB_ASSISTANT_TEXT},
};
// clang-format on

} // namespace

bool ZEB_FILE_ASSISTANT::set_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, OUTPUT_FILE_SET, key))
        return false;
    // A document holds one output file per type: the type is its key.
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_OUTPUT_FILES>(object);
    auto* output_file = FRAME::found_or_add(container, FRAME::output_file_of_type(object, key.second));
    FRAME::apply(output_file, params, OUTPUT_FILE_ROWS);
    // Every output file set this way carries its options, even when the list names none.
    FRAME::apply(FRAME::first_or_add<PGM_COMMON_XML_ZEB_FILE_OPTIONS>(output_file), params, FILE_OPTIONS_ROWS);

    std::string value;
    if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID, value))
        FRAME::found_or_add(output_file, get_flash_device_id_element(output_file, value))->write_string(value);
    if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, value))
        FRAME::apply(FRAME::found_or_add(output_file, get_bitstream_id_element(output_file, value)), params,
                     OUTPUT_FILE_BITSTREAM_ID_ROWS);
    if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, value))
    {
        auto* secondary_file = FRAME::found_or_add(output_file, FRAME::secondary_file_of_type(output_file, value));
        FRAME::apply(secondary_file, params, SECONDARY_FILE_ROWS);
        FRAME::apply(FRAME::first_or_add<PGM_COMMON_XML_ZEB_FILE_OPTIONS>(secondary_file), params,
                     SECONDARY_FILE_OPTIONS_ROWS);
    }
    return true;
}

bool ZEB_FILE_ASSISTANT::set_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, FLASH_DEVICE_SET, key))
        return false;
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_FLASH_DEVICES>(object);
    auto* device = FRAME::found_or_add(container, get_flash_device_element(object, key.second));
    FRAME::apply(device, params, FLASH_DEVICE_ROWS);

    // A partition of the device and one of an MBR take the same attributes from their own parameters.
    std::string value;
    const auto set_partition = [&](PGM_COMMON_XML_ELEMENT* parent,
                                   const std::vector<PGM_COMMON_XML_ZEB_PARTITION*>& partitions,
                                   ZEB_ASSISTANT_TABLE rows)
    {
        auto* found = FRAME::find_id(partitions, &PGM_COMMON_XML_ZEB_PARTITION::get_id, value);
        FRAME::apply(FRAME::found_or_add(parent, found), params, rows);
    };
    if (FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, value))
        set_partition(device, device->get_partition_list(), PARTITION_ROWS);
    // An MBR partition is addressed through its MBR.
    if (!FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, value))
        return true;
    auto* mbr =
        FRAME::found_or_add(device, FRAME::find_id(device->get_mbr_list(), &PGM_COMMON_XML_ZEB_MBR::get_id, value));
    FRAME::apply(mbr, params, MBR_ROWS);
    if (FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_ID, value))
        set_partition(mbr, mbr->get_partition_list(), MBR_PARTITION_ROWS);
    return true;
}

bool ZEB_FILE_ASSISTANT::set_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, FLASH_LOADER_SET, key))
        return false;
    // One flash loader per document: a second name replaces the first.
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_FLASH_DEVICES>(object);
    FRAME::first_or_add<PGM_COMMON_XML_ZEB_FLASH_LOADER>(container)->write_string(key.second);
    return true;
}
