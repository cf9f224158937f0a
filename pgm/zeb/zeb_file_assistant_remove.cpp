// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: removal of elements, or of parts of them, selected by parameter lists, and
// the renaming of a partition. A removed element is deleted with everything below it, and a root
// container left without children goes with it, so a document never keeps an empty container.
#include "pgm/zeb/zeb_file_assistant_frame.h"

namespace
{

constexpr ZEB_ASSISTANT_FRAME_TEXT RAW_FILE_REMOVE = {
    "Remove raw file - param list is empty", "Remove raw file - missing id in param list", {ZEB_CMD_PARAM_RAW_FILE_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT ASSIGNMENT_REMOVE = {"Remove assignments - param list is empty",
                                                        "Remove assignments - missing partition id",
                                                        {ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT BITSTREAM_REMOVE = {"Remove bitstream - param list is empty",
                                                       "Remove bitstream - missing id in param list",
                                                       {ZEB_CMD_PARAM_BITSTREAM_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT FLASH_DEVICE_REMOVE = {"Remove flash device - param list is empty",
                                                          "Remove flash device - missing id in param list",
                                                          {ZEB_CMD_PARAM_FLASH_DEVICE_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT FLASH_LOADER_REMOVE = {"Remove flash loader - param list is empty",
                                                          "Remove flash loader - missing id in param list",
                                                          {ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER}};
// Without a type, a flash device reference and then a bitstream reference stand in as the key.
constexpr ZEB_ASSISTANT_FRAME_TEXT OUTPUT_FILE_REMOVE = {"Remove output file - param list is empty",
                                                         "Remove output file - missing id in param list",
                                                         {ZEB_CMD_PARAM_OUTPUT_FILE_TYPE,
                                                          ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID,
                                                          ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID}};

// The flash devices container goes only when it holds neither kind.
constexpr std::initializer_list<PGM_COMMON_XML_ENUM> FLASH_DEVICES_KINDS = {PGM_COMMON_XML_ENUM_ZEB_FLASH_DEVICE,
                                                                            PGM_COMMON_XML_ENUM_ZEB_FLASH_LOADER};

} // namespace

bool ZEB_FILE_ASSISTANT::remove_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, RAW_FILE_REMOVE, key))
        return false;
    FRAME::destroy_and_tidy(get_raw_file_element(object, key.second), {PGM_COMMON_XML_ENUM_ZEB_RAW_FILE});
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, ASSIGNMENT_REMOVE, key))
        return false;
    FRAME::destroy_and_tidy(get_assignment_element(object, key.second), {PGM_COMMON_XML_ENUM_ZEB_ASSIGNMENT});
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, BITSTREAM_REMOVE, key))
        return false;
    PGM_COMMON_XML_ZEB_BITSTREAM* bitstream = get_bitstream_element(object, key.second);
    if (!bitstream)
        return true;

    std::string path_text;
    std::string hps_path;
    const bool has_path = FRAME::has(params, ZEB_CMD_PARAM_BITSTREAM_PATH, path_text);
    if (FRAME::has(params, ZEB_CMD_PARAM_BITSTREAM_PATH_HPS_PATH, hps_path))
    {
        // Only the HPS path setting goes: of the named path, or of every path of the bitstream.
        for (PGM_COMMON_XML_ZEB_PATH* path : bitstream->get_path_list())
            if (!has_path || path->get_text() == path_text)
                path->write_attribute_string("hps_path", "");
        return true;
    }
    if (!has_path)
    {
        FRAME::destroy_and_tidy(bitstream, {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM});
        return true;
    }
    // The bitstream goes with its last path, and the container with its last bitstream.
    PGM_COMMON_XML_ELEMENT* container = bitstream->get_parent();
    if (FRAME::destroy_and_tidy(
            FRAME::find_id(bitstream->get_path_list(), &PGM_COMMON_XML_ZEB_PATH::get_text, path_text),
            {PGM_COMMON_XML_ENUM_ZEB_PATH}))
        FRAME::tidy(container, {PGM_COMMON_XML_ENUM_ZEB_BITSTREAM});
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_flash_device(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, FLASH_DEVICE_REMOVE, key))
        return false;
    PGM_COMMON_XML_ZEB_FLASH_DEVICE* device = get_flash_device_element(object, key.second);
    if (!device)
        return true;

    std::string value;
    if (FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID, value))
    {
        FRAME::destroy(FRAME::find_id(device->get_partition_list(), &PGM_COMMON_XML_ZEB_PARTITION::get_id, value));
        return true;
    }
    if (FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID, value))
    {
        PGM_COMMON_XML_ZEB_MBR* mbr = FRAME::find_id(device->get_mbr_list(), &PGM_COMMON_XML_ZEB_MBR::get_id, value);
        if (mbr && FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_ID, value))
            FRAME::destroy(FRAME::find_id(mbr->get_partition_list(), &PGM_COMMON_XML_ZEB_PARTITION::get_id, value));
        else
            FRAME::destroy(mbr);
        return true;
    }
    // An MBR partition is addressed through its MBR: without one it names nothing to remove.
    if (FRAME::has(params, ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_ID, value))
        return true;
    FRAME::destroy_and_tidy(device, FLASH_DEVICES_KINDS);
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_flash_loader(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, FLASH_LOADER_REMOVE, key))
        return false;
    FRAME::destroy_and_tidy(
        FRAME::find_id(get_flash_loader_elements(object), &PGM_COMMON_XML_ZEB_FLASH_LOADER::get_text, key.second),
        FLASH_DEVICES_KINDS);
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_output_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, OUTPUT_FILE_REMOVE, key))
        return false;
    if (key.first == ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID)
        return remove_output_file_flash_device_id(object, key.second);
    if (key.first == ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID)
        return remove_output_file_bitstream_id(object, key.second);

    PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file = FRAME::output_file_of_type(object, key.second);
    if (!output_file)
        return true;
    std::string value;
    if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE, value))
        FRAME::destroy(FRAME::secondary_file_of_type(output_file, value));
    else if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID, value))
        FRAME::destroy(get_flash_device_id_element(output_file, value));
    else if (FRAME::has(params, ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID, value))
        FRAME::destroy(get_bitstream_id_element(output_file, value));
    else
        FRAME::destroy_and_tidy(output_file, {PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE});
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_output_file_bitstream_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id)
{
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : get_output_file_elements(object))
        FRAME::destroy(get_bitstream_id_element(output_file, id));
    return true;
}

bool ZEB_FILE_ASSISTANT::remove_output_file_flash_device_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& id)
{
    for (PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file : get_output_file_elements(object))
        FRAME::destroy(get_flash_device_id_element(output_file, id));
    return true;
}

bool ZEB_FILE_ASSISTANT::modify_partition_id(PGM_COMMON_XML_ZEB_ZEB* object, const std::string& flash_device_id,
                                             const std::string& partition_id, const std::string& new_partition_id)
{
    // Assignments keep naming the old id: the caller moves them.
    PGM_COMMON_XML_ZEB_PARTITION* partition = get_partition_element(object, flash_device_id, partition_id);
    if (!partition)
    {
        ZEB_ASSISTANT_DEBUG("Modify partition id - partition not found");
        return false;
    }
    return partition->write_attribute_string("id", new_partition_id);
}
