// SPDX-License-Identifier: Apache-2.0
// ZEB_FILE_ASSISTANT: the setters and getters of the document's inputs and of what ties them to the
// flash: raw files, bitstreams with their paths, assignments, and the document-wide settings.
//
// Each table lists the parameters a setter applies to one element. A key parameter has a row like
// any other: the element was found by the key's last value, so rewriting the key in list order
// leaves that value in place.
#include "pgm/zeb/zeb_file_assistant_frame.h"

namespace
{

constexpr ZEB_ASSISTANT_FRAME_TEXT RAW_FILE_SET = {
    "Set raw file - param list is empty", "Set raw file - missing id in param list", {ZEB_CMD_PARAM_RAW_FILE_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT ASSIGNMENT_SET = {"Set assignments - param list is empty",
                                                     "Set assignments - missing partition id",
                                                     {ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID}};
constexpr ZEB_ASSISTANT_FRAME_TEXT SETTINGS_SET = {"Set settings - param list is empty", "", {}};
constexpr ZEB_ASSISTANT_FRAME_TEXT BITSTREAM_SET = {
    "Set bitstream - param list is empty", "Set bitstream - missing id in param list", {ZEB_CMD_PARAM_BITSTREAM_ID}};

// clang-format off
// In the order in which get_raw_file describes a raw file.
constexpr ZEB_ASSISTANT_ROW RAW_FILE_ROWS[] = {
    {ZEB_CMD_PARAM_RAW_FILE_ID, "id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_RAW_FILE_RAW_FILE, nullptr, ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_RAW_FILE_BITSWAP, "bitswap", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_RAW_FILE_TYPE, "type", ZEB_ASSISTANT_ENUM},
};

constexpr ZEB_ASSISTANT_ROW ASSIGNMENT_ROWS[] = {
    {ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID, "partition_id", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_ASSIGNMENT_PAGE, "page", ZEB_ASSISTANT_NUMBER},
};

constexpr ZEB_ASSISTANT_ROW ASSIGNMENT_RAW_FILE_ID_ROWS[] = {
    {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, nullptr, ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_MODE, "addr_mode", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_OFFSET, "addr_offset", ZEB_ASSISTANT_TEXT},
};

constexpr ZEB_ASSISTANT_ROW ASSIGNMENT_BITSTREAM_ID_ROWS[] = {
    {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, nullptr, ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID_SECTION, "section", ZEB_ASSISTANT_ENUM},
};

constexpr ZEB_ASSISTANT_ROW SETTINGS_ROWS[] = {
    {ZEB_CMD_PARAM_SETTINGS_MODE, "mode", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR, "custom_db_dir", ZEB_ASSISTANT_TEXT},
};

constexpr ZEB_ASSISTANT_ROW BITSTREAM_ROWS[] = {
    {ZEB_CMD_PARAM_BITSTREAM_ID, "id", ZEB_ASSISTANT_TEXT},
};

// Every option of an input file lives on its path; get_bitstream describes a path in this order.
constexpr ZEB_ASSISTANT_ROW PATH_ROWS[] = {
    {ZEB_CMD_PARAM_BITSTREAM_PATH, nullptr, ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HPS_PATH, "hps_path", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_EKP_FILE, "ekp_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE, "app_image", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY, "app_image_only", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_HPS_PATH, "app_image_hps_path", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, "hky_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_PASSWORD, "password", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_STORAGE, "key_storage", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, "finalize_encryption_later", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE, "hek_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, "finalize_encryption", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_RSU_UPGRADE, "rsu_upgrade", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, "sign_later", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, "signing_pem_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING, "signing", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_FW_SOURCE, "fw_source", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_HPS_JTAG, "security_opt_no_hps_jtag", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_SECURE, "security_opt_secure", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_EPOF_ONLY, "security_opt_epof_only", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_CONFIG, "security_opt_no_config", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_BATTERY_KEY, "security_opt_no_battery_key", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG, "security_opt_no_jtag", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_LOCK_BATTERY_KEY, "security_opt_lock_battery_key", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_OTP_KEY, "security_opt_no_otp_key", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG_EXT, "security_opt_no_jtag_ext", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG_KEY, "security_opt_no_jtag_key", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_PR, "security_opt_no_pr", ZEB_ASSISTANT_ENUM},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_NON_VOLATILE_KEY, "non_volatile_key", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY2, "key2", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, "key1", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE2, "key_file2", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1, "key_file1", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HLK_FILE, "hlk_file", ZEB_ASSISTANT_TEXT},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION, "encryption", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_DECRYPTION_DURING_PR, "decryption_during_pr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_DECOMPRESSION_DURING_PR, "decompression_during_pr", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_ENHANCED_COMPRESSION, "enhanced_compression", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION, "compression", ZEB_ASSISTANT_FLAG},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SEU_RECOVERY, "seu_recovery", ZEB_ASSISTANT_FLAG},
};
// clang-format on

} // namespace

bool ZEB_FILE_ASSISTANT::set_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, RAW_FILE_SET, key))
        return false;
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_RAW_FILES>(object);
    auto* raw_file = FRAME::found_or_add(container, get_raw_file_element(object, key.second));
    return FRAME::apply(raw_file, params, RAW_FILE_ROWS, "Set raw file - unrecogized param enum %d");
}

bool ZEB_FILE_ASSISTANT::set_assignment(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, ASSIGNMENT_SET, key))
        return false;
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_ASSIGNMENTS>(object);
    auto* assignment = FRAME::found_or_add(container, get_assignment_element(object, key.second));
    FRAME::apply(assignment, params, ASSIGNMENT_ROWS);
    // An address mode or section alone does not make a reference; both references may coexist.
    std::string value;
    if (FRAME::has(params, ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID, value))
        FRAME::apply(FRAME::first_or_add<PGM_COMMON_XML_ZEB_RAW_FILE_ID>(assignment), params,
                     ASSIGNMENT_RAW_FILE_ID_ROWS);
    if (FRAME::has(params, ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID, value))
        FRAME::apply(FRAME::first_or_add<PGM_COMMON_XML_ZEB_BITSTREAM_ID>(assignment), params,
                     ASSIGNMENT_BITSTREAM_ID_ROWS);
    return true;
}

bool ZEB_FILE_ASSISTANT::set_settings(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR no_key;
    if (!FRAME::open(object, params, SETTINGS_SET, no_key))
        return false;
    return FRAME::apply(FRAME::first_or_add<PGM_COMMON_XML_ZEB_SETTINGS>(object), params, SETTINGS_ROWS,
                        "Set settings - unrecognized param %d");
}

bool ZEB_FILE_ASSISTANT::set_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    PARAM_PAIR key;
    if (!FRAME::open(object, params, BITSTREAM_SET, key))
        return false;
    auto* container = FRAME::first_or_add<PGM_COMMON_XML_ZEB_BITSTREAMS>(object);
    auto* bitstream = FRAME::found_or_add(container, get_bitstream_element(object, key.second));
    FRAME::apply(bitstream, params, BITSTREAM_ROWS);
    // Without a path there is nothing to hold the options.
    std::string path_text;
    if (!FRAME::has(params, ZEB_CMD_PARAM_BITSTREAM_PATH, path_text))
        return true;
    auto* path = FRAME::found_or_add(
        bitstream, FRAME::find_id(bitstream->get_path_list(), &PGM_COMMON_XML_ZEB_PATH::get_text, path_text));
    FRAME::apply(path, params, PATH_ROWS);
    return true;
}

ZEB_FILE_ASSISTANT::PARAM_LIST ZEB_FILE_ASSISTANT::get_raw_file(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    ZEB_ASSISTANT_ASSERT(object);
    PARAM_LIST description;
    PARAM_PAIR pair_local;
    if (!find_param_pair(params, ZEB_CMD_PARAM_RAW_FILE_ID, pair_local))
        return description;
    ZEB_ASSISTANT_ASSERT(pair_local.first == ZEB_CMD_PARAM_RAW_FILE_ID);
    if (const PGM_COMMON_XML_ZEB_RAW_FILE* raw_file = get_raw_file_element(object, pair_local.second))
        FRAME::describe(raw_file, RAW_FILE_ROWS, description);
    return description;
}

ZEB_FILE_ASSISTANT::PARAM_LIST ZEB_FILE_ASSISTANT::get_bitstream(PGM_COMMON_XML_ZEB_ZEB* object, PARAM_LIST params)
{
    ZEB_ASSISTANT_ASSERT(object);
    PARAM_LIST description;
    PARAM_PAIR pair_local;
    if (!find_param_pair(params, ZEB_CMD_PARAM_BITSTREAM_ID, pair_local))
        return description;
    ZEB_ASSISTANT_ASSERT(pair_local.first == ZEB_CMD_PARAM_BITSTREAM_ID);
    const std::string bitstream_id = pair_local.second;
    if (!find_param_pair(params, ZEB_CMD_PARAM_BITSTREAM_PATH, pair_local))
        return description;
    ZEB_ASSISTANT_ASSERT(pair_local.first == ZEB_CMD_PARAM_BITSTREAM_PATH);
    if (const PGM_COMMON_XML_ZEB_PATH* path = get_path_element(object, bitstream_id, pair_local.second))
    {
        description.emplace_back(ZEB_CMD_PARAM_BITSTREAM_ID, bitstream_id);
        FRAME::describe(path, PATH_ROWS, description);
    }
    return description;
}
