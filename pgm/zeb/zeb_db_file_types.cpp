// SPDX-License-Identifier: Apache-2.0
// The output file type table: one record per ZEB_FILE_TYPE. The record is assembled from four row
// tables (names, flags, tooltips, lists), each with one row per type in value order, and the keys
// are kept in the fixed order that front ends list the types in.
#include "pgm/zeb/zeb_db_tables.h"

namespace
{

using zeb_db_rows::LIST;

// Short names for the list columns.
namespace ft
{
constexpr ZEB_FILE_TYPE MAP = ZEB_FILE_TYPE_MAP;
constexpr ZEB_FILE_TYPE RPD_SECONDARY = ZEB_FILE_TYPE_RPD_SECONDARY;
constexpr ZEB_FILE_TYPE HELPER_RBF_SECONDARY = ZEB_FILE_TYPE_HELPER_RBF_SECONDARY;
} // namespace ft

namespace in
{
constexpr FIO_FILE_TYPE SOF = FIO_FILE_TYPE_SOF;
constexpr FIO_FILE_TYPE POF = FIO_FILE_TYPE_POF;
constexpr FIO_FILE_TYPE JIC = FIO_FILE_TYPE_JIC;
constexpr FIO_FILE_TYPE HEX = FIO_FILE_TYPE_HEX;
constexpr FIO_FILE_TYPE RBF = FIO_FILE_TYPE_RBF;
constexpr FIO_FILE_TYPE PMSF = FIO_FILE_TYPE_PMSF;
constexpr FIO_FILE_TYPE CDF = FIO_FILE_TYPE_CDF;
constexpr FIO_FILE_TYPE EKP = FIO_FILE_TYPE_EKP;
constexpr FIO_FILE_TYPE HKY = FIO_FILE_TYPE_HKY;
constexpr FIO_FILE_TYPE HEK = FIO_FILE_TYPE_HEK;
constexpr FIO_FILE_TYPE FUSE = FIO_FILE_TYPE_FUSE;
} // namespace in

namespace fam
{
constexpr DEV_FAMILY_ENUM VIVERI = DEV_FAMILY_VIVERI;
constexpr DEV_FAMILY_ENUM ZUVOKO = DEV_FAMILY_ZUVOKO;
constexpr DEV_FAMILY_ENUM ZIZIRA = DEV_FAMILY_ZIZIRA;
constexpr DEV_FAMILY_ENUM BILOSA_CFI = DEV_FAMILY_BILOSA_CFI;
constexpr DEV_FAMILY_ENUM RERATI = DEV_FAMILY_RERATI;
constexpr DEV_FAMILY_ENUM MOZOKA = DEV_FAMILY_MOZOKA;
} // namespace fam

namespace cat
{
constexpr ZEB_FILE_CATEGORY DATA = ZEB_FILE_CATEGORY_CONFIGURATION_DATA;
constexpr ZEB_FILE_CATEGORY HOST = ZEB_FILE_CATEGORY_EXTERNAL_HOST;
constexpr ZEB_FILE_CATEGORY FLASH = ZEB_FILE_CATEGORY_FLASH_PROGRAMMING;
constexpr ZEB_FILE_CATEGORY RAW_FLASH = ZEB_FILE_CATEGORY_RAW_FLASH_DATA;
constexpr ZEB_FILE_CATEGORY JTAG = ZEB_FILE_CATEGORY_JTAG_PLAYER;
constexpr ZEB_FILE_CATEGORY PR = ZEB_FILE_CATEGORY_PARTIAL_RECONFIGURATION;
constexpr ZEB_FILE_CATEGORY SPLIT = ZEB_FILE_CATEGORY_SPLIT_CONFIGURATION;
constexpr ZEB_FILE_CATEGORY MEMORY_MAP = ZEB_FILE_CATEGORY_MEMORY_MAP;
constexpr ZEB_FILE_CATEGORY KEY = ZEB_FILE_CATEGORY_SECURITY_KEY;
constexpr ZEB_FILE_CATEGORY HELPER = ZEB_FILE_CATEGORY_HELPER_IMAGE;
constexpr ZEB_FILE_CATEGORY SRAM = ZEB_FILE_CATEGORY_SRAM_OBJECT;
constexpr ZEB_FILE_CATEGORY PS_HOST = ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST;
constexpr ZEB_FILE_CATEGORY PARALLEL_HOST = ZEB_FILE_CATEGORY_PARALLEL_HOST;
} // namespace cat

struct NAME_ROW
{
    ZEB_FILE_TYPE value;
    const char* description;
    PGM_COMMON_XML_ENUM xml_enum;
    FIO_EXTENSION_TYPE fio_ext_enum;
    const char* file_name_suffix;
    const char* child_file_name_suffix;
};

// Descriptions are display texts and stay exactly as they are, including the missing blank in the
// EKP row. Rows without an XML value cannot appear in a setup document.
// clang-format off
constexpr NAME_ROW NAME_ROWS[] = {
    {ZEB_FILE_TYPE_RBF, "Raw Binary File (.rbf)", PGM_COMMON_XML_ENUM_RBF, FIO_EXTENSION_TYPE_RBF, "", ""},
    {ZEB_FILE_TYPE_SOF, "SRAM Object File (.sof)", PGM_COMMON_XML_ENUM_SOF, FIO_EXTENSION_TYPE_SOF, "", ""},
    {ZEB_FILE_TYPE_HEXOUT, "Hexadecimal (Hex Record Format) Output File for SRAM (.hexout)", PGM_COMMON_XML_ENUM_HEX, FIO_EXTENSION_TYPE_HEXOUT, "", ""},
    {ZEB_FILE_TYPE_TTF, "Tabular Text File (.ttf)", PGM_COMMON_XML_ENUM_TTF, FIO_EXTENSION_TYPE_TTF, "", ""},
    {ZEB_FILE_TYPE_JIC, "JTAG Indirect Configuration File (.jic)", PGM_COMMON_XML_ENUM_JIC, FIO_EXTENSION_TYPE_JIC, "", ""},
    {ZEB_FILE_TYPE_POF, "Programmer Object File (.pof)", PGM_COMMON_XML_ENUM_POF, FIO_EXTENSION_TYPE_POF, "", ""},
    {ZEB_FILE_TYPE_POF_REMOTE_UPDATE, "Programmer Object File for Remote Update (.pof)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_POF, "", ""},
    {ZEB_FILE_TYPE_POF_LOCAL_UPDATE, "Programmer Object File for Local Update (.pof)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_POF, "", ""},
    {ZEB_FILE_TYPE_RPD, "Raw Programming Data File (.rpd)", PGM_COMMON_XML_ENUM_RPD, FIO_EXTENSION_TYPE_RPD, "", ""},
    {ZEB_FILE_TYPE_PMSF, "Partial-Masked SRAM Object File (.pmsf)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_PMSF, "", ""},
    {ZEB_FILE_TYPE_MSF, "Merged Mask Settings File (.msf)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_MSF, "", ""},
    {ZEB_FILE_TYPE_MERGED_PMSF, "Merged Partial-Masked SRAM Object File (.pmsf)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_PMSF, "", ""},
    {ZEB_FILE_TYPE_HIOF, "HPS IO File (.hiof)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_HIOF, "", ""},
    {ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE, "Hexadecimal (Hex Record Format) Output File for Dravek(4|8|16)/Tromm(4|8|16) (.hexout)", PGM_COMMON_XML_ENUM__INVALID__, FIO_EXTENSION_TYPE_HEXOUT, "", ""},
    {ZEB_FILE_TYPE_RBF_CVP_CORE, "Raw Binary File for CvP Core Configuration (.rbf)", PGM_COMMON_XML_ENUM_CVP_CORE_RBF, FIO_EXTENSION_TYPE_RBF, ".core", ".periph"},
    {ZEB_FILE_TYPE_RBF_HPS_CORE, "Raw Binary File for HPS Core Configuration (.rbf)", PGM_COMMON_XML_ENUM_HPS_CORE_RBF, FIO_EXTENSION_TYPE_RBF, ".core", ".hps"},
    {ZEB_FILE_TYPE_RBF_PERIPHERY, "Raw Binary File for Periphery Configuration (.rbf)", PGM_COMMON_XML_ENUM_PERIPH_RBF, FIO_EXTENSION_TYPE_RBF, "", ""},
    {ZEB_FILE_TYPE_JIC_PERIPHERY, "JTAG Indirect Configuration File for Periphery Configuration (.jic)", PGM_COMMON_XML_ENUM_PERIPH_JIC, FIO_EXTENSION_TYPE_JIC, "", ""},
    {ZEB_FILE_TYPE_POF_PERIPHERY, "Programmer Object File for Periphery Configuration (.pof)", PGM_COMMON_XML_ENUM_PERIPH_POF, FIO_EXTENSION_TYPE_POF, "", ""},
    {ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION, "Raw Binary File for Partial Reconfiguration (.rbf)", PGM_COMMON_XML_ENUM_PRRBF, FIO_EXTENSION_TYPE_RBF, "", ""},
    {ZEB_FILE_TYPE_MAP, "Memory Map File (.map)", PGM_COMMON_XML_ENUM_MAP, FIO_EXTENSION_TYPE_MAP, "", ""},
    {ZEB_FILE_TYPE_RPD_SECONDARY, "Raw Programming Data File (.rpd)", PGM_COMMON_XML_ENUM_SEC_RPD, FIO_EXTENSION_TYPE_RPD, "", ""},
    {ZEB_FILE_TYPE_JAM, "Jam STAPL File (.jam)", PGM_COMMON_XML_ENUM_JAM, FIO_EXTENSION_TYPE_JAM, "", ""},
    {ZEB_FILE_TYPE_JBC, "Byte-Code Jam STAPL File (.jbc)", PGM_COMMON_XML_ENUM_JBC, FIO_EXTENSION_TYPE_JBC, "", ""},
    {ZEB_FILE_TYPE_SVF, "Serial Vector Format File (.svf)", PGM_COMMON_XML_ENUM_SVF, FIO_EXTENSION_TYPE_SVF, "", ""},
    {ZEB_FILE_TYPE_EKP, "Encryption Key Programming File(.ekp)", PGM_COMMON_XML_ENUM_EKP, FIO_EXTENSION_TYPE_EKP, "", ""},
    {ZEB_FILE_TYPE_RPD_PERIPHERY, "Raw Programming Data File (.rpd)", PGM_COMMON_XML_ENUM_PERIPH_RPD, FIO_EXTENSION_TYPE_RPD, "", ""},
    {ZEB_FILE_TYPE_HELPER_RBF_SECONDARY, "Raw Binary File of Programming Helper Image (.rbf)", PGM_COMMON_XML_ENUM_HELPER_RBF, FIO_EXTENSION_TYPE_RBF, "", ""},
    {ZEB_FILE_TYPE_HELPER_RBF, "Raw Binary File of Programming Helper Image (.rbf)", PGM_COMMON_XML_ENUM_HELPER_RBF_CMD, FIO_EXTENSION_TYPE_RBF, "", ""},
};
// clang-format on

struct FLAG_ROW
{
    ZEB_FILE_TYPE value;
    bool enabled;
    bool virtual_type;
    bool secondary;
    bool cmd_only;
    bool independent_of_mode;
    bool default_checked_state;
    bool no_input_file;
    bool require_flash_loader;
    bool has_option;
};

// Columns: enabled, virtual, secondary, cmd_only, independent of mode, checked by default,
// no input file, flash loader, has option.
// clang-format off
constexpr FLAG_ROW FLAG_ROWS[] = {
    {ZEB_FILE_TYPE_RBF,                         1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_SOF,                         1, 0, 0, 1, 1, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_HEXOUT,                      1, 0, 0, 0, 0, 0, 0, 0, 1},
    {ZEB_FILE_TYPE_TTF,                         1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_JIC,                         1, 0, 0, 0, 0, 0, 0, 1, 0},
    {ZEB_FILE_TYPE_POF,                         1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_POF_REMOTE_UPDATE,           0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_POF_LOCAL_UPDATE,            0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RPD,                         1, 0, 0, 0, 0, 0, 0, 0, 1},
    {ZEB_FILE_TYPE_PMSF,                        0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_MSF,                         0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_MERGED_PMSF,                 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_HIOF,                        0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE,        0, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RBF_CVP_CORE,                1, 1, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RBF_HPS_CORE,                1, 1, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RBF_PERIPHERY,               1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_JIC_PERIPHERY,               1, 0, 0, 0, 0, 0, 0, 1, 0},
    {ZEB_FILE_TYPE_POF_PERIPHERY,               1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION, 1, 0, 0, 0, 0, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_MAP,                         1, 0, 1, 0, 0, 1, 0, 0, 0},
    {ZEB_FILE_TYPE_RPD_SECONDARY,               1, 0, 1, 0, 0, 0, 0, 0, 1},
    {ZEB_FILE_TYPE_JAM,                         1, 0, 0, 1, 1, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_JBC,                         1, 0, 0, 1, 1, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_SVF,                         1, 0, 0, 1, 1, 0, 0, 0, 1},
    {ZEB_FILE_TYPE_EKP,                         1, 0, 0, 1, 1, 0, 0, 0, 0},
    {ZEB_FILE_TYPE_RPD_PERIPHERY,               1, 0, 0, 0, 0, 0, 0, 0, 1},
    {ZEB_FILE_TYPE_HELPER_RBF_SECONDARY,        1, 0, 1, 0, 0, 0, 1, 0, 0},
    {ZEB_FILE_TYPE_HELPER_RBF,                  1, 0, 0, 1, 1, 0, 1, 0, 0},
};
// clang-format on

struct TOOLTIP_ROW
{
    ZEB_FILE_TYPE value;
    const char* tooltip;
};

// Texts shared by several rows. The raw programming data text has two blanks before "file type".
// clang-format off
constexpr const char* RPD_TOOLTIP = "A binary file containing flash programming data for use outside the Halcyra Prime software to program the flash. A Raw Programming Data File is a subset of the Programmer Object File (.pof) or JTAG Indirect Configuration File (.jic)  file type, containing only flash binary programming data.";
constexpr const char* PMSF_TOOLTIP = "An intermediate file format that represents a partial reconfiguration bitstream.";
constexpr const char* PERIPHERY_TOOLTIP = "A binary file containing configuration data for periphery components.";

// clang-format on

// The two helper-image texts end without a full stop.
// clang-format off
constexpr TOOLTIP_ROW TOOLTIP_ROWS[] = {
    {ZEB_FILE_TYPE_RBF, "A binary file containing configuration data for use outside the Halcyra Prime software."},
    {ZEB_FILE_TYPE_SOF, "A binary file containing the data for configuring all SRAM-based FPGA devices."},
    {ZEB_FILE_TYPE_HEXOUT, "An ASCII text file of hex records containing configuration data for use outside the Halcyra Prime software."},
    {ZEB_FILE_TYPE_TTF, "An ASCII text file in tabular format containing configuration data for use outside the Halcyra Prime software."},
    {ZEB_FILE_TYPE_JIC, "A binary file containing serial configuration device data and the serial flash loader device name."},
    {ZEB_FILE_TYPE_POF, "A binary file containing the data for programming a Kestor device or a configuration device that can configure other devices."},
    {ZEB_FILE_TYPE_POF_REMOTE_UPDATE, "A Programmer Object File that consists of a remote update enabled Programmer Object File and additional remote update enabled SRAM Object Files (.sof), and is used to program configuration devices in remote update configuration mode."},
    {ZEB_FILE_TYPE_POF_LOCAL_UPDATE, "A Programmer Object File that consists of a local update enabled Programmer Object File and additional local update enabled SRAM Object Files (.sof), and is used to program configuration devices in local update configuration mode."},
    {ZEB_FILE_TYPE_RPD, RPD_TOOLTIP},
    {ZEB_FILE_TYPE_PMSF, PMSF_TOOLTIP},
    {ZEB_FILE_TYPE_MSF, "A mask file for a partial reconfiguration region."},
    {ZEB_FILE_TYPE_MERGED_PMSF, PMSF_TOOLTIP},
    {ZEB_FILE_TYPE_HIOF, ""},
    {ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE, ""},
    {ZEB_FILE_TYPE_RBF_CVP_CORE, "A binary file containing logic that is programmed by configuration RAM (CRAM) for CVP phase 2."},
    {ZEB_FILE_TYPE_RBF_HPS_CORE, "A binary file containing logic that is programmed by configuration RAM (CRAM) for HPS phase 2."},
    {ZEB_FILE_TYPE_RBF_PERIPHERY, PERIPHERY_TOOLTIP},
    {ZEB_FILE_TYPE_JIC_PERIPHERY, PERIPHERY_TOOLTIP},
    {ZEB_FILE_TYPE_POF_PERIPHERY, PERIPHERY_TOOLTIP},
    {ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION, "A binary file containing a partial configuration bitstream."},
    {ZEB_FILE_TYPE_MAP, "A text file containing the byte addresses of pages and data stored in the memory of a configuration device."},
    {ZEB_FILE_TYPE_RPD_SECONDARY, RPD_TOOLTIP},
    {ZEB_FILE_TYPE_JAM, "An ASCII text file, in the STAPL format, that stores programming data for programming, configuring, verifying, and blank-checking one or more devices in a JTAG chain."},
    {ZEB_FILE_TYPE_JBC, "A binary file, in the STAPL format, that stores programming data for programming, configuring, verifying, and blank-checking one or more devices in a JTAG chain."},
    {ZEB_FILE_TYPE_SVF, "An ASCII text file, in the Serial Vector Format, that stores programming data for programming, configuring, verifying, and blank-checking one or more devices in a JTAG chain."},
    {ZEB_FILE_TYPE_EKP, "A binary file containing bitstream encryption key."},
    {ZEB_FILE_TYPE_RPD_PERIPHERY, PERIPHERY_TOOLTIP},
    {ZEB_FILE_TYPE_HELPER_RBF_SECONDARY, "A binary file containing configuration data for use in flash programming"},
    {ZEB_FILE_TYPE_HELPER_RBF, "A binary file containing configuration data for use in flash or fuse programming"},
};
// clang-format on

struct LIST_ROW
{
    ZEB_FILE_TYPE value;
    LIST<ZEB_FILE_TYPE> secondary_file_type;
    LIST<FIO_FILE_TYPE> input_file_type;
    LIST<DEV_FAMILY_ENUM> config_device_family;
    LIST<DEV_FAMILY_ENUM> supported_family;
    LIST<DEV_FAMILY_ENUM> excluded_family;
    LIST<ZEB_FILE_CATEGORY> file_category;
};

// Columns: secondary files, accepted inputs, configuration flash families, supported families,
// excluded families, categories.
//
// Only flash programming files (JIC, POF and their periphery forms) name configuration flash
// families: validation refuses a bitstream reference on a type that has families and a flash-device
// reference on one that has none. Every type that is written from an input accepts at least one
// input kind, because validation intersects the accepted inputs of all outputs of a document.
// Secondary files and helper images take no input of their own. No type excludes a family: the
// configuration scheme table already decides where a type is offered.
// clang-format off
constexpr LIST_ROW LIST_ROWS[] = {
    {ZEB_FILE_TYPE_RBF, {}, {in::SOF}, {}, {}, {}, {cat::DATA, cat::HOST, cat::PS_HOST, cat::PARALLEL_HOST}},
    {ZEB_FILE_TYPE_SOF, {}, {in::SOF}, {}, {}, {}, {cat::SRAM}}, // a copy of the input SOF with a bootloader embedded
    {ZEB_FILE_TYPE_HEXOUT, {}, {in::SOF}, {}, {}, {}, {cat::DATA, cat::HOST, cat::PS_HOST, cat::PARALLEL_HOST}},
    {ZEB_FILE_TYPE_TTF, {}, {in::SOF}, {}, {}, {}, {cat::DATA, cat::HOST, cat::PS_HOST, cat::PARALLEL_HOST}},
    {ZEB_FILE_TYPE_JIC, {ft::RPD_SECONDARY, ft::MAP, ft::HELPER_RBF_SECONDARY}, {in::SOF, in::POF, in::HEX, in::RBF, in::PMSF}, {fam::VIVERI}, {}, {}, {cat::DATA, cat::FLASH}},
    {ZEB_FILE_TYPE_POF, {ft::RPD_SECONDARY, ft::MAP}, {in::SOF, in::POF, in::HEX, in::RBF, in::PMSF}, {fam::BILOSA_CFI, fam::VIVERI, fam::MOZOKA}, {}, {}, {cat::DATA, cat::FLASH}},
    {ZEB_FILE_TYPE_POF_REMOTE_UPDATE, {ft::RPD_SECONDARY, ft::MAP}, {in::SOF, in::POF}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {cat::DATA, cat::FLASH}}, // disabled; remote-update devices
    {ZEB_FILE_TYPE_POF_LOCAL_UPDATE, {ft::RPD_SECONDARY, ft::MAP}, {in::SOF, in::POF}, {}, {}, {}, {cat::DATA, cat::FLASH}}, // disabled
    {ZEB_FILE_TYPE_RPD, {}, {in::SOF, in::POF, in::JIC}, {}, {}, {}, {cat::DATA, cat::RAW_FLASH}}, // one input through a bitstream reference
    {ZEB_FILE_TYPE_PMSF, {}, {in::SOF}, {}, {}, {}, {cat::PR}}, // disabled; made from the full design's SOF
    {ZEB_FILE_TYPE_MSF, {}, {in::PMSF}, {}, {}, {}, {cat::PR}}, // disabled; merges the masks of PMSF inputs
    {ZEB_FILE_TYPE_MERGED_PMSF, {}, {in::PMSF}, {}, {}, {}, {cat::PR}}, // disabled; merges PMSF inputs
    {ZEB_FILE_TYPE_HIOF, {}, {in::SOF}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {cat::SPLIT}}, // disabled; HPS devices only
    {ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE, {}, {in::POF}, {}, {}, {}, {cat::DATA, cat::FLASH}}, // disabled; hex image of a POF
    {ZEB_FILE_TYPE_RBF_CVP_CORE, {}, {in::SOF}, {}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {cat::DATA, cat::HOST, cat::SPLIT}}, // CvP devices
    {ZEB_FILE_TYPE_RBF_HPS_CORE, {}, {in::SOF}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {cat::DATA, cat::HOST, cat::SPLIT}}, // HPS devices
    {ZEB_FILE_TYPE_RBF_PERIPHERY, {}, {in::SOF}, {}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {cat::DATA, cat::HOST, cat::SPLIT}}, // periphery of a CvP split
    {ZEB_FILE_TYPE_JIC_PERIPHERY, {ft::RPD_SECONDARY, ft::MAP, ft::HELPER_RBF_SECONDARY}, {in::SOF, in::POF, in::HEX, in::RBF, in::PMSF}, {fam::VIVERI}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {cat::DATA, cat::FLASH, cat::SPLIT}}, // as JIC, CvP devices
    {ZEB_FILE_TYPE_POF_PERIPHERY, {ft::RPD_SECONDARY, ft::MAP}, {in::SOF, in::POF, in::HEX, in::RBF, in::PMSF}, {fam::BILOSA_CFI, fam::VIVERI, fam::MOZOKA}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {cat::DATA, cat::FLASH, cat::SPLIT}}, // as POF, CvP devices
    {ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION, {}, {in::PMSF}, {}, {}, {}, {cat::DATA, cat::HOST, cat::PR}}, // made from the region's PMSF
    {ZEB_FILE_TYPE_MAP, {}, {}, {}, {}, {}, {cat::MEMORY_MAP}}, // secondary: written with its primary
    {ZEB_FILE_TYPE_RPD_SECONDARY, {}, {}, {}, {}, {}, {cat::DATA, cat::RAW_FLASH}}, // secondary: raw data of a flash image
    {ZEB_FILE_TYPE_JAM, {}, {in::SOF, in::POF, in::JIC, in::CDF, in::EKP, in::HKY, in::HEK, in::FUSE}, {}, {}, {}, {cat::JTAG}}, // any file a chain can play
    {ZEB_FILE_TYPE_JBC, {}, {in::SOF, in::POF, in::JIC, in::CDF, in::EKP, in::HKY, in::HEK, in::FUSE}, {}, {}, {}, {cat::JTAG}},
    {ZEB_FILE_TYPE_SVF, {}, {in::SOF, in::POF, in::JIC, in::CDF, in::EKP, in::HKY, in::HEK, in::FUSE}, {}, {}, {}, {cat::JTAG}},
    {ZEB_FILE_TYPE_EKP, {}, {in::SOF}, {}, {}, {}, {cat::KEY}}, // the key settings of an SOF's bitstream
    {ZEB_FILE_TYPE_RPD_PERIPHERY, {}, {in::SOF, in::POF, in::JIC}, {}, {fam::ZUVOKO, fam::ZIZIRA}, {}, {cat::DATA, cat::RAW_FLASH, cat::SPLIT}}, // as RPD, CvP devices
    {ZEB_FILE_TYPE_HELPER_RBF_SECONDARY, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {cat::HELPER}}, // families with helper images
    {ZEB_FILE_TYPE_HELPER_RBF, {}, {}, {}, {fam::ZIZIRA, fam::RERATI}, {}, {cat::HELPER}}, // families with helper images
};
// clang-format on

// The order in which front ends list the types; not the numeric order.
constexpr int32_t KEY_ORDER[] = {
    2, 0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 19, 12, 13, 14, 15, 16, 17, 18, 26, 20, 21, 22, 23, 24, 25, 27, 28, 1,
};

constexpr std::size_t TYPE_COUNT = 29;
static_assert(std::size(NAME_ROWS) == TYPE_COUNT && zeb_db_rows::rows_in_value_order(NAME_ROWS));
static_assert(std::size(FLAG_ROWS) == TYPE_COUNT && zeb_db_rows::rows_in_value_order(FLAG_ROWS));
static_assert(std::size(TOOLTIP_ROWS) == TYPE_COUNT && zeb_db_rows::rows_in_value_order(TOOLTIP_ROWS));
static_assert(std::size(LIST_ROWS) == TYPE_COUNT && zeb_db_rows::rows_in_value_order(LIST_ROWS));
static_assert(zeb_db_rows::is_permutation_of_values(KEY_ORDER, TYPE_COUNT));

ZebFileTypeRecord make_record(std::size_t value)
{
    const NAME_ROW& name = NAME_ROWS[value];
    const FLAG_ROW& flag = FLAG_ROWS[value];
    const LIST_ROW& list = LIST_ROWS[value];
    return ZebFileTypeRecord{flag.enabled,
                             flag.virtual_type,
                             flag.secondary,
                             flag.cmd_only,
                             flag.independent_of_mode,
                             flag.default_checked_state,
                             list.secondary_file_type.to_vector(),
                             flag.no_input_file,
                             list.input_file_type.to_vector(),
                             list.config_device_family.to_vector(),
                             list.supported_family.to_vector(),
                             list.excluded_family.to_vector(),
                             list.file_category.to_vector(),
                             name.description,
                             flag.require_flash_loader,
                             flag.has_option,
                             name.xml_enum,
                             name.fio_ext_enum,
                             name.file_name_suffix,
                             name.child_file_name_suffix,
                             TOOLTIP_ROWS[value].tooltip};
}

ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord> build_table()
{
    ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord> table;
    for (int32_t key : KEY_ORDER)
    {
        table.records.emplace(key, make_record(static_cast<std::size_t>(key)));
        table.keys.push_back(static_cast<ZEB_FILE_TYPE>(key));
    }
    return table;
}

} // namespace

const ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord>& zeb_db_file_type_table()
{
    static const ZEB_DB_TABLE<ZEB_FILE_TYPE, ZebFileTypeRecord> table = build_table();
    return table;
}
