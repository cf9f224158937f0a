// SPDX-License-Identifier: Apache-2.0
// The command parameter table: for each PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM value its option name,
// whether it is offered, hidden or gated by a switch, and its help text (PARAM_ROWS, one row per
// value); which other parameters, families, inputs and outputs it goes with (LIST_ROWS); and the
// fixed order in which front ends list the parameters. Also the enumerator names by value.
#include "pgm/zeb/zeb_db_tables.h"

namespace
{

using zeb_db_rows::LIST;

// The switch that gates a parameter: by type and key number.
struct SWITCH
{
    bool enabled_by_ini;
    PGM_COMMON_INI_TYPE type;
    uint32_t key;
};
constexpr SWITCH NO_SWITCH = {false, PGM_COMMON_INI_TYPE_NONE, 0};
constexpr SWITCH switch_of(uint32_t type, uint32_t key)
{
    return {true, static_cast<PGM_COMMON_INI_TYPE>(type), key};
}

struct PARAM_ROW
{
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM value;
    const char* enumerator;
    const char* option_name;
    bool enabled;
    bool hidden;
    SWITCH ini;
    const char* description;
};

// The raw file's, the output file's and the secondary file's bit swap are all given as "bitswap".
constexpr const char* BITSWAP_OPTION = "bitswap";

// Writes the enumerator once: its value and its name.
#define PARAM(enumerator) enumerator, #enumerator

// Columns: parameter, option name, enabled, hidden, switch, description. Descriptions are help
// texts and stay exactly as they are, spelling and doubled blanks included.
// clang-format off
constexpr PARAM_ROW PARAM_ROWS[] = {
    {PARAM(ZEB_CMD_PARAM_INVALID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_RAW_FILE_RAW_FILE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_RAW_FILE_BITSWAP), BITSWAP_OPTION, 1, 0, NO_SWITCH, "Swap bit order within a byte of Raw Data File (*.hex,*.rbf,*.bin)."},
    {PARAM(ZEB_CMD_PARAM_RAW_FILE_TYPE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_RAW_FILE_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_MODE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_RAW_FILE_ID_ADDR_OFFSET), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_BITSTREAM_ID_SECTION), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_PAGE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_ASSIGNMENT_PARTITION_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_SETTINGS_CUSTOM_DB_DIR), "custom_db_dir", 1, 0, NO_SWITCH, "Specifies the custom database directory for flash configuration devices."},
    {PARAM(ZEB_CMD_PARAM_SETTINGS_MODE), "mode", 1, 0, NO_SWITCH, "Specifies the configuration mode."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_DIRECTION), "count_dir", 1, 0, NO_SWITCH, "Specifies the direction of the file content in Hex Record Format (*.hex). count_dir = UP|DOWN(default)"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_BITSWAP), BITSWAP_OPTION, 1, 0, NO_SWITCH, "Swap bit order within a byte of Raw Programming Data File (*.rpd). bitswap = ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_S_ADDR), "start_address", 1, 0, NO_SWITCH, "Specifies the start address of the file content in Hex Record Format (*.hex) or flash start address when converting single image (*.sof) to Raw Programming File (*.rpd)."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_FREQUENCY), "frequency", 1, 0, NO_SWITCH, "Specifies the TCK frequency of Serial Vector Format file (*.svf). frequency=100KHz|6MHz|..."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_VOLTAGE), "voltage", 1, 0, NO_SWITCH, "Specifies the voltage of Serial Vector Format file (*.svf). voltage=1_5V|1_8V|2_5V|3_3V|5_0V"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_OPERATION), "operation", 1, 0, NO_SWITCH, "Specifies the operation of Serial Vector Format file (*.svf). operation = P|V|PV"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_DIRECTION), "", 0, 0, NO_SWITCH, "Specifies the direction of the file content in Hex Record Format (*.hex). count_dir = UP|DOWN(default)"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_BITSWAP), BITSWAP_OPTION, 1, 0, NO_SWITCH, "Swap bit order within a byte of Raw Programming Data File (*.rpd). bitswap = ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_S_ADDR), "", 0, 0, NO_SWITCH, "Specifies the start address of the file content in Hex Record Format (*.hex)."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_FREQUENCY), "", 0, 0, NO_SWITCH, "Specifies the TCK frequency of  Serial Vector Format file (*.svf)."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_VOLTAGE), "", 0, 0, NO_SWITCH, "Specifies the voltage of  Serial Vector Format file (*.svf)."},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_OPERATION), "", 0, 0, NO_SWITCH, "Specifies the operation of  Serial Vector Format file (*.svf). operation = P|V|PB"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_TYPE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_NAME), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_FLASH_DEVICE_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_BITSTREAM_ID_SECTION), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_NAME), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE), "subtype", 1, 0, NO_SWITCH, "Specifies the type of Programmer Factory Helper Image (*.rbf). subtype = QSPI|FUSE|SDMMC"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_HPS), "hps", 1, 0, NO_SWITCH, "Split programming file into core.rbf and periph file for HPS. hps=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_RSU_BOOT), "rsu_boot", 1, 0, NO_SWITCH, "Generates a binary file containing the decision image bitstream for remote system upgrade. rsu_boot=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_CVP), "cvp", 1, 0, NO_SWITCH, "Split programming file into core.rbf and periph file for CVP. cvp=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE), "helper_device", 1, 0, NO_SWITCH, "Specifies the helper device of user public key (*.hky), user encryption key (*.hek) and fuse (*.fuse)  programming. helper_device=7TR440PA3R1"},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_DIRECTORY), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_OUTPUT_FILE_TYPE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER), "flash_loader", 1, 0, NO_SWITCH, "Specifies the helper device of serial flash loader."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_RESERVED), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_EXTRA_SPACE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_FIXED_S_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_S_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_E_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_FIXED_E_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_PARTITION_SIZE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_RESERVED), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_EXTRA_SPACE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_FIXED_S_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_S_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_E_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_FIXED_E_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_PARTITION_SIZE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_E_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_TYPE), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_MBR_S_ADDR), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_WATCHDOG_VALUE), "watchdog_value", 1, 0, NO_SWITCH, "Enables and specifies the dual boot watchdog value as a hexadecimal number for Norrin devices."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_ENCRYPTED_POF_ONLY), "enable_encrypted_pof_only", 1, 0, NO_SWITCH, "Accepts encrypted POF only for Norrin devices."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_JTAG_SECURITY), "enable_jtag_security", 1, 0, switch_of(0, 3), "Enable JTAG Security feature."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST), "enable_test", 1, 0, switch_of(2, 1), ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE_FILE), "ufm_source_file", 1, 0, NO_SWITCH, "Norrin device User Flash Memory memory file, accepts either Hex Record Format Files (*.hex) or Memory Initialization Files (*.mif)."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_VERIFY_PROTECT), "enable_verify_protect", 1, 0, NO_SWITCH, "Enable design security verify protect for Norrin devices."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE), "ufm_source", 1, 0, NO_SWITCH, "Norrin device User Flash Memory source."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_CHIP_SELECT), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_FORCE_SSMCLK_TO_USE_ISMCLK), "force_ssmclk_to_use_ismclk", 1, 0, switch_of(0, 6), "Force SSM clock to use internal oscillator clock."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_CONFIG_FROM_CFM0_ONLY), "config_from_cfm0_only", 1, 0, NO_SWITCH, "When enabled in Norrin dual image designs this will disable the CONFIG_SEL pin, the Norrin device will then configure from CFM0 only. If configuration fails the device will stop and wait for reconfiguration. It will not fall-back to the CFM1 in this mode."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ISP_SOURCE), "isp_source", 1, 0, NO_SWITCH, "Use secondary image ISP data as default setting when available for Norrin devices."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_SPI_MODE), "enable_spi_mode", 1, 0, switch_of(0, 6), "Configure device in Active Serial mode after power-up."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_USER_IOS_WEAK_PULLUP), "enable_user_ios_weak_pullup", 1, 0, NO_SWITCH, "Enable user I/Os weak pull up during configuration for Norrin devices."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_POWER_ON_SCHEME), "power_on_scheme", 1, 0, switch_of(0, 7), ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST), "disable_test", 1, 0, switch_of(2, 1), ""},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_FALLBACK_ADDRESS), "fallback_address", 1, 0, switch_of(0, 6), "Specifies the fallback image location address in Ossel configuration device."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_TYPE), "device", 1, 0, NO_SWITCH, "Specifies the configuration device."},
    {PARAM(ZEB_CMD_PARAM_FLASH_DEVICE_ID), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH), "", 0, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_STORAGE), "key_storage", 1, 0, NO_SWITCH, "Specifies the key storage of devices that include a Secure Device Manager. key_storage=BBRAM"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING), "signing", 1, 0, NO_SWITCH, "Specifies the signing flow. signing=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_EKP_FILE), "ekp_file", 1, 0, NO_SWITCH, "Specifies the target encrypted key programming file (*.ekp)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_OTP_KEY), "no_otp_key", 1, 0, NO_SWITCH, "Controls security option: Disable use of the non-volatile OTP fuse key. no_otp_key=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_KEY2), "key2", 0, 0, NO_SWITCH, "Specifies the second key id, the second key id could be from key_file1 or key_file2."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1), "key", 1, 0, NO_SWITCH, "Specifies the encryption key id from key_file."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE2), "key_file2", 0, 0, NO_SWITCH, "Specifies the second key file (*.key), the second key file contains key2."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER), "finalize_encryption_later", 1, 0, NO_SWITCH, "Do not finalize the encryption of the bitstream. finalize_encryption_later=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_ENHANCED_COMPRESSION), "enhanced_compression", 1, 0, NO_SWITCH, "Controls whether the partial reconfiguration data sent to the FPGA device is compressed via enhanced compression algorithm. Turning this on requires you to enable enhanced decompression on the PR IP. enhanced_compression=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_NON_VOLATILE_KEY), "non_volatile_key", 1, 0, NO_SWITCH, "Enable non volatile key feature. non_volatile_key=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_LOCK_BATTERY_KEY), "lock_battery_key", 1, 0, NO_SWITCH, "Controls security option: Prevent the battery-backed key from being changed. lock_battery_key=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG_KEY), "no_jtag_key", 1, 0, NO_SWITCH, "Controls security option: Disables key-related JTAG instructions. no_jtag_key=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_BATTERY_KEY), "no_battery_key", 1, 0, NO_SWITCH, "Controls security option: Disable use of the battery-backed key. no_battery_key=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION), "finalize_encryption", 1, 0, NO_SWITCH, "Finalize the encryption of the bitstream. finalize_encryption=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_PASSWORD), "password", 1, 1, NO_SWITCH, "Specifies the password file of encryption key file (*.hek). password=password.txt"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG), "no_jtag", 1, 0, NO_SWITCH, "Controls security option: Force the external JTAG pins into BYPASS mode. no_jtag=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_COMPRESSION), "compression", 1, 0, NO_SWITCH, "Controls whether the configuration data sent to the FPGA device is compressed. compression=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_ENCRYPTION), "", 1, 0, NO_SWITCH, ""},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_HLK_FILE), "hlk_file", 1, 0, NO_SWITCH, "Specifies the target encryption lock file (*.hlk)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER), "sign_later", 1, 0, NO_SWITCH, "Do not sign the bitstream. sign_later=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_RSU_UPGRADE), "rsu_upgrade", 1, 0, NO_SWITCH, "Generates raw programming file containing a bitstream to upgarde the rsu firmware. rsu_upgarde=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_DECRYPTION_DURING_PR), "bitstream_decryption_during_pr", 0, 0, NO_SWITCH, "Controls whether the configuration data sent to the FPGA device during Partial Reconfiguration is encrypted. bitstream_decryption_during_pr=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_CONFIG), "no_config", 1, 0, NO_SWITCH, "Controls security option: Disable external full-configuration. no_config=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_HPS_PATH), "app_image_hps_path", 1, 1, switch_of(1, 5), "Specifies the HPS bootloader file of RSU upgrade application image in Hex Record Format (*.hex)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_PR), "no_pr", 1, 0, NO_SWITCH, "Controls security option: Disables external Partial Reconfiguration. no_pr=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_EPOF_ONLY), "epof_only", 1, 0, NO_SWITCH, "Controls security option: Only allow encrypted, authenticated POFs. epof_only=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_SECURE), "secure", 1, 0, NO_SWITCH, "Controls security option: Enable other security measures. secure=2(default)|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY), "app_image_only", 1, 1, switch_of(1, 5), "Generates RSU upgrade bitstream containing only DCMF and application image. app_image_only=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE), "hek_file", 1, 0, NO_SWITCH, "Specifies the encryption key file (*.hek)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE), "app_image", 1, 1, switch_of(1, 5), "Specifies the application image (*.sof) to include in RSU upgrade bitstream."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_JTAG_EXT), "no_jtag_ext", 1, 0, NO_SWITCH, "Controls security option: Disable other extended JTAG instructions. no_jtag_ext=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_DECOMPRESSION_DURING_PR), "bitstream_decompression_during_pr", 0, 0, NO_SWITCH, "Controls whether the configuration data sent to the FPGA device during Partial Reconfiguration is compressed. bitstream_decompression_during_pr=ON|OFF(default)"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE), "pem_file", 1, 0, NO_SWITCH, "Specifies the private key pem file  (*.pem) to sign the bitstream when using PEM signing flow."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_HPS_PATH), "hps_path", 1, 0, NO_SWITCH, "Specifies the HPS bootloader file in Hex Record Format (*.hex)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_HPS_JTAG), "no_hps_jtag", 1, 0, NO_SWITCH, "Controls security option: Force the internal HPS JTAG into BYPASS mode. no_hps_jtag=0(default)|1|2|3"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1), "key_file", 1, 0, NO_SWITCH, "Specifies the key file that contains key."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_FW_SOURCE), "fw_source", 1, 0, NO_SWITCH, "Specifies the firmware source file (*.zip) to include the signed firmware in bitstream."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE), "hky_file", 1, 0, NO_SWITCH, "Specifies the halcyra public root key file (*.hky) when generating helper image raw binary file (*.rbf)."},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_PATH_SEU_RECOVERY), "seu_recovery", 1, 0, NO_SWITCH, "Generates binary file containing a bitstream to restore SEU features in partial reconfiguration (PR) sector. When a PR region is placed in a sector, any SEU features in this sector disable temporarily during the PR operation, and restore at the end of successful PR. If an error occurs during PR, you can manually restore the SEU features of that sector with this bitstream file. seu_recovery=ON|OFF"},
    {PARAM(ZEB_CMD_PARAM_BITSTREAM_ID), "", 0, 0, NO_SWITCH, ""},
};
// clang-format on

#undef PARAM

static_assert(std::size(PARAM_ROWS) == ZEB_CMD_PARAM_COUNT && zeb_db_rows::rows_in_value_order(PARAM_ROWS));

// Short names for the list columns.
namespace ft
{
constexpr ZEB_FILE_TYPE RBF = ZEB_FILE_TYPE_RBF;
constexpr ZEB_FILE_TYPE HEXOUT = ZEB_FILE_TYPE_HEXOUT;
constexpr ZEB_FILE_TYPE JIC = ZEB_FILE_TYPE_JIC;
constexpr ZEB_FILE_TYPE POF = ZEB_FILE_TYPE_POF;
constexpr ZEB_FILE_TYPE RPD = ZEB_FILE_TYPE_RPD;
constexpr ZEB_FILE_TYPE CVP = ZEB_FILE_TYPE_RBF_CVP_CORE;
constexpr ZEB_FILE_TYPE HPS = ZEB_FILE_TYPE_RBF_HPS_CORE;
constexpr ZEB_FILE_TYPE JIC_PERIPH = ZEB_FILE_TYPE_JIC_PERIPHERY;
constexpr ZEB_FILE_TYPE POF_PERIPH = ZEB_FILE_TYPE_POF_PERIPHERY;
constexpr ZEB_FILE_TYPE PR_RBF = ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION;
constexpr ZEB_FILE_TYPE RPD_SEC = ZEB_FILE_TYPE_RPD_SECONDARY;
constexpr ZEB_FILE_TYPE JAM = ZEB_FILE_TYPE_JAM;
constexpr ZEB_FILE_TYPE JBC = ZEB_FILE_TYPE_JBC;
constexpr ZEB_FILE_TYPE SVF = ZEB_FILE_TYPE_SVF;
constexpr ZEB_FILE_TYPE RPD_PERIPH = ZEB_FILE_TYPE_RPD_PERIPHERY;
constexpr ZEB_FILE_TYPE HELPER_SEC = ZEB_FILE_TYPE_HELPER_RBF_SECONDARY;
constexpr ZEB_FILE_TYPE HELPER = ZEB_FILE_TYPE_HELPER_RBF;
} // namespace ft

namespace in
{
constexpr FIO_FILE_TYPE SOF = FIO_FILE_TYPE_SOF;
constexpr FIO_FILE_TYPE HEX = FIO_FILE_TYPE_HEX;
constexpr FIO_FILE_TYPE RBF = FIO_FILE_TYPE_RBF;
constexpr FIO_FILE_TYPE BIN = FIO_FILE_TYPE_BIN;
constexpr FIO_FILE_TYPE PMSF = FIO_FILE_TYPE_PMSF;
} // namespace in

namespace fam
{
constexpr DEV_FAMILY_ENUM ZUVOKO = DEV_FAMILY_ZUVOKO;
constexpr DEV_FAMILY_ENUM ZIZIRA = DEV_FAMILY_ZIZIRA;
constexpr DEV_FAMILY_ENUM RERATI = DEV_FAMILY_RERATI;
constexpr DEV_FAMILY_ENUM MOZOKA = DEV_FAMILY_MOZOKA;
} // namespace fam

namespace p
{
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM HELPER_DEVICE = ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM ENABLE_TEST = ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM DISABLE_TEST = ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM UFM_SOURCE = ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM SIGNING = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM KEY2 = ZEB_CMD_PARAM_BITSTREAM_PATH_KEY2;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM KEY1 = ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM FINALIZE_LATER = ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM FINALIZE = ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM SIGN_LATER = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM RSU_UPGRADE = ZEB_CMD_PARAM_BITSTREAM_PATH_RSU_UPGRADE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM HEK_FILE = ZEB_CMD_PARAM_BITSTREAM_PATH_HEK_FILE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM APP_IMAGE = ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM PEM_FILE = ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE;
constexpr PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM KEY_FILE1 = ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE1;
} // namespace p

struct LIST_ROW
{
    PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM value;
    LIST<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> dependent_param;
    LIST<PGM_COMMON_XML_ENUM> dependent_param_enum_value; // one per dependent parameter, or none: any value
    LIST<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> exclusive_param;
    LIST<DEV_FAMILY_ENUM> supported_family;
    LIST<DEV_FAMILY_ENUM> excluded_family;
    LIST<FIO_FILE_TYPE> supported_input_file_type;
    LIST<ZEB_FILE_TYPE> supported_output_file_type;
};

// Columns: dependent parameters, their required values, exclusive parameters, supported families,
// excluded families, input file types, output file types. Only parameters with some list have a
// row; every other parameter has empty lists, which restrict nothing. That covers the structural
// parameters (ids, paths, names, partitions, assignments), the settings, and the bitstream options
// that apply to every design (compression, encryption keys and files, the security options).
// Families follow the device catalogue: CvP on 16 and 25; HPS, remote update and helper images on
// 25 and 45; the internal flash ("Norrin devices") on 67. No parameter excludes a family.
// clang-format off
constexpr LIST_ROW LIST_ROWS[] = {
    {ZEB_CMD_PARAM_RAW_FILE_BITSWAP, {}, {}, {}, {}, {}, {in::HEX, in::RBF, in::BIN}, {}}, // the raw data kinds of its help text
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_DIRECTION, {}, {}, {}, {}, {}, {}, {ft::HEXOUT}},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_BITSWAP, {}, {}, {}, {}, {}, {}, {ft::RPD, ft::RPD_PERIPH}}, // raw programming data
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_S_ADDR, {}, {}, {}, {}, {}, {}, {ft::HEXOUT, ft::RPD, ft::RPD_PERIPH}}, // hex start, or flash start of an RPD
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_FREQUENCY, {}, {}, {}, {}, {}, {}, {ft::SVF}},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_VOLTAGE, {}, {}, {}, {}, {}, {}, {ft::SVF}},
    {ZEB_CMD_PARAM_OUTPUT_FILE_FILE_OPTIONS_OPERATION, {}, {}, {}, {}, {}, {}, {ft::SVF}},
    {ZEB_CMD_PARAM_OUTPUT_FILE_SECONDARY_FILE_FILE_OPTIONS_BITSWAP, {}, {}, {}, {}, {}, {}, {ft::RPD_SEC}}, // the only secondary file with options
    {ZEB_CMD_PARAM_OUTPUT_FILE_SUBTYPE, {p::HELPER_DEVICE}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::HELPER_SEC, ft::HELPER}}, // a helper image needs its device
    {ZEB_CMD_PARAM_OUTPUT_FILE_HPS, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RBF, ft::JIC, ft::POF, ft::RPD, ft::HPS}}, // files that split off an HPS core
    {ZEB_CMD_PARAM_OUTPUT_FILE_RSU_BOOT, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RBF}}, // decision image of remote-update devices
    {ZEB_CMD_PARAM_OUTPUT_FILE_CVP, {}, {}, {}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {}, {ft::RBF, ft::JIC, ft::POF, ft::RPD, ft::CVP}}, // files that split off a CvP core
    {ZEB_CMD_PARAM_OUTPUT_FILE_DEVICE, {}, {}, {}, {}, {}, {}, {ft::JAM, ft::JBC, ft::SVF, ft::HELPER_SEC, ft::HELPER}}, // helper images; key and fuse programming through a player
    {ZEB_CMD_PARAM_FLASH_LOADER_FLASH_LOADER, {}, {}, {}, {}, {}, {}, {ft::JIC, ft::JIC_PERIPH}}, // the types that need a flash loader
    {ZEB_CMD_PARAM_FLASH_DEVICE_WATCHDOG_VALUE, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_ENCRYPTED_POF_ONLY, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_TEST, {}, {}, {p::DISABLE_TEST}, {}, {}, {}, {}}, // the two test switches contradict each other
    {ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE_FILE, {p::UFM_SOURCE}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}}, // the file is read for the chosen source
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_VERIFY_PROTECT, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_UFM_SOURCE, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_CONFIG_FROM_CFM0_ONLY, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ISP_SOURCE, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_ENABLE_USER_IOS_WEAK_PULLUP, {}, {}, {}, {fam::MOZOKA}, {}, {}, {ft::POF}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_DISABLE_TEST, {}, {}, {p::ENABLE_TEST}, {}, {}, {}, {}},
    {ZEB_CMD_PARAM_FLASH_DEVICE_FALLBACK_ADDRESS, {}, {}, {}, {}, {}, {}, {ft::JIC, ft::POF}}, // a configuration device image
    {ZEB_CMD_PARAM_FLASH_DEVICE_TYPE, {}, {}, {}, {}, {}, {}, {ft::JIC, ft::POF, ft::JIC_PERIPH, ft::POF_PERIPH}}, // the flash programming files
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY2, {p::KEY1}, {}, {}, {}, {}, {}, {}}, // a second key only beside the first
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY1, {p::KEY_FILE1}, {}, {}, {}, {}, {}, {}}, // the key id is looked up in key_file
    {ZEB_CMD_PARAM_BITSTREAM_PATH_KEY_FILE2, {p::KEY2}, {}, {}, {}, {}, {}, {}}, // the file that holds key2
    {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION_LATER, {}, {}, {p::FINALIZE}, {}, {}, {}, {}},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_ENHANCED_COMPRESSION, {}, {}, {}, {}, {}, {in::PMSF}, {ft::PR_RBF}}, // partial-reconfiguration data only
    {ZEB_CMD_PARAM_BITSTREAM_PATH_FINALIZE_ENCRYPTION, {}, {}, {p::FINALIZE_LATER}, {}, {}, {}, {}},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_PASSWORD, {p::HEK_FILE}, {}, {}, {}, {}, {}, {}}, // opens the encryption key file
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGN_LATER, {p::SIGNING}, {}, {p::PEM_FILE}, {}, {}, {}, {}}, // a signing flow, but no key to sign with now
    {ZEB_CMD_PARAM_BITSTREAM_PATH_RSU_UPGRADE, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RPD}}, // remote-update devices
    {ZEB_CMD_PARAM_BITSTREAM_PATH_DECRYPTION_DURING_PR, {}, {}, {}, {}, {}, {in::PMSF}, {ft::PR_RBF}}, // partial-reconfiguration data only
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_HPS_PATH, {p::APP_IMAGE}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RPD}}, // bootloader of the application image
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE_ONLY, {p::RSU_UPGRADE, p::APP_IMAGE}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RPD}},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_APP_IMAGE, {p::RSU_UPGRADE}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {ft::RPD}},
    {ZEB_CMD_PARAM_BITSTREAM_PATH_DECOMPRESSION_DURING_PR, {}, {}, {}, {}, {}, {in::PMSF}, {ft::PR_RBF}}, // partial-reconfiguration data only
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SIGNING_PEM_FILE, {p::SIGNING}, {PGM_COMMON_XML_ENUM_PEM}, {p::SIGN_LATER}, {}, {}, {}, {}}, // signing=PEM
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HPS_PATH, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {in::SOF}, {}}, // HPS bootloader for an SOF's design
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SECURITY_OPT_NO_HPS_JTAG, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {}, {}}, // HPS devices
    {ZEB_CMD_PARAM_BITSTREAM_PATH_HKY_FILE, {}, {}, {}, {}, {}, {}, {ft::HELPER_SEC, ft::HELPER}}, // helper image raw binaries
    {ZEB_CMD_PARAM_BITSTREAM_PATH_SEU_RECOVERY, {}, {}, {}, {}, {}, {in::PMSF}, {ft::PR_RBF}}, // restores a partial-reconfiguration sector
};
// clang-format on

// Rows strictly ascending, so that a parameter has at most one row.
constexpr bool list_rows_ascending()
{
    for (std::size_t i = 1; i < std::size(LIST_ROWS); ++i)
        if (LIST_ROWS[i - 1].value >= LIST_ROWS[i].value)
            return false;
    return true;
}
static_assert(list_rows_ascending());

// The order in which front ends list the parameters: raw file, partitions, MBR partitions, flash
// device, bitstream security, settings and assignments, output file. Not the numeric order.
// clang-format off
constexpr int32_t KEY_ORDER[] = {
    0, 1, 2, 3, 4,
    44, 40, 46, 43, 45, 42, 47, 41,
    52, 48, 54, 51, 53, 50, 55, 49, 56, 57, 58, 59,
    76, 77, 67, 73, 72, 69, 70, 65, 61, 60, 66, 64, 62, 71, 75, 68, 63, 74,
    78, 112, 95, 87, 110, 100, 96, 88, 81, 97, 84, 83, 114, 85, 103, 109, 90, 82, 89, 94, 91, 101, 104, 113, 105, 117,
    99, 115, 80, 111, 98, 92, 107, 86, 79, 93, 116, 108, 102, 106, 118,
    13, 12, 5, 6, 7, 8, 9, 11, 10,
    39, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 33, 37, 38, 31, 35, 36, 32, 34,
};
// clang-format on
static_assert(zeb_db_rows::is_permutation_of_values(KEY_ORDER, ZEB_CMD_PARAM_COUNT));

constexpr std::array<std::string_view, ZEB_CMD_PARAM_COUNT> make_enum_names()
{
    std::array<std::string_view, ZEB_CMD_PARAM_COUNT> names{};
    for (const PARAM_ROW& row : PARAM_ROWS)
        names[static_cast<std::size_t>(row.value)] = row.enumerator;
    return names;
}

const LIST_ROW* find_list_row(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM value)
{
    for (const LIST_ROW& row : LIST_ROWS)
        if (row.value == value)
            return &row;
    return nullptr;
}

ZebCmdParamRecord make_record(const PARAM_ROW& row)
{
    ZebCmdParamRecord record;
    record.enabled = row.enabled;
    record.hidden = row.hidden;
    record.option_name = row.option_name;
    record.description = row.description;
    record.enabled_by_ini = row.ini.enabled_by_ini;
    record.ini_type = row.ini.type;
    record.ini_key = row.ini.key;
    if (const LIST_ROW* list = find_list_row(row.value))
    {
        record.dependent_param = list->dependent_param.to_vector();
        record.dependent_param_enum_value = list->dependent_param_enum_value.to_vector();
        record.exclusive_param = list->exclusive_param.to_vector();
        record.supported_family = list->supported_family.to_vector();
        record.excluded_family = list->excluded_family.to_vector();
        record.supported_input_file_type = list->supported_input_file_type.to_vector();
        record.supported_output_file_type = list->supported_output_file_type.to_vector();
    }
    return record;
}

ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord> build_table()
{
    ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord> table;
    for (int32_t key : KEY_ORDER)
    {
        table.records.emplace(key, make_record(PARAM_ROWS[static_cast<std::size_t>(key)]));
        table.keys.push_back(static_cast<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM>(key));
    }
    return table;
}

} // namespace

constinit const std::array<std::string_view, ZEB_CMD_PARAM_COUNT> ZEB_DB_CMD_PARAM_ENUM_NAMES = make_enum_names();

const ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord>& zeb_db_cmd_param_table()
{
    static const ZEB_DB_TABLE<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM, ZebCmdParamRecord> table = build_table();
    return table;
}
