// SPDX-License-Identifier: Apache-2.0
// The capability database: what each output file type, configuration scheme and command parameter
// allows. ZEB_DB answers per key from three static tables; ZEB_DB_UTIL answers questions that span
// several keys. The tables are built once, on first use, and never change afterwards, so every
// function may be called from any thread. No query fails: a key without a record gives false, 0,
// an empty string or an empty list (see the line above each function).
#pragma once

#include "pgm/zeb/platform/dev/dev_family.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/ini/pgm_common_ini.h"
#include "pgm/zeb/platform/pgm_common_xml_zeb_cmd_param.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/xml/pgm_common_xml_enum.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Kind of output file that the generator can write.
enum ZEB_FILE_TYPE : int32_t
{
    ZEB_FILE_TYPE_RBF = 0,
    ZEB_FILE_TYPE_SOF = 1,
    ZEB_FILE_TYPE_HEXOUT = 2,
    ZEB_FILE_TYPE_TTF = 3,
    ZEB_FILE_TYPE_JIC = 4,
    ZEB_FILE_TYPE_POF = 5,
    ZEB_FILE_TYPE_POF_REMOTE_UPDATE = 6,
    ZEB_FILE_TYPE_POF_LOCAL_UPDATE = 7,
    ZEB_FILE_TYPE_RPD = 8,
    ZEB_FILE_TYPE_PMSF = 9,
    ZEB_FILE_TYPE_MSF = 10,
    ZEB_FILE_TYPE_MERGED_PMSF = 11,
    ZEB_FILE_TYPE_HIOF = 12,
    ZEB_FILE_TYPE_HEXOUT_CONFIG_DEVICE = 13,
    ZEB_FILE_TYPE_RBF_CVP_CORE = 14,
    ZEB_FILE_TYPE_RBF_HPS_CORE = 15,
    ZEB_FILE_TYPE_RBF_PERIPHERY = 16,
    ZEB_FILE_TYPE_JIC_PERIPHERY = 17,
    ZEB_FILE_TYPE_POF_PERIPHERY = 18,
    ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION = 19,
    ZEB_FILE_TYPE_MAP = 20,
    ZEB_FILE_TYPE_RPD_SECONDARY = 21,
    ZEB_FILE_TYPE_JAM = 22,
    ZEB_FILE_TYPE_JBC = 23,
    ZEB_FILE_TYPE_SVF = 24,
    ZEB_FILE_TYPE_EKP = 25,
    ZEB_FILE_TYPE_RPD_PERIPHERY = 26,
    ZEB_FILE_TYPE_HELPER_RBF_SECONDARY = 27,
    ZEB_FILE_TYPE_HELPER_RBF = 28,
};

// Stands for "no output file type" where a look-up finds none; it is not a member of the enum.
inline constexpr ZEB_FILE_TYPE ZEB_FILE_TYPE_NONE = static_cast<ZEB_FILE_TYPE>(32);

// What an output file is for. A type may belong to several categories; raw binary, hexadecimal and
// tabular text files share {0, 1, 11, 12}.
enum ZEB_FILE_CATEGORY : int32_t
{
    ZEB_FILE_CATEGORY_CONFIGURATION_DATA = 0,      // holds configuration data that a device loads
    ZEB_FILE_CATEGORY_EXTERNAL_HOST = 1,           // loaded by an external host or processor
    ZEB_FILE_CATEGORY_FLASH_PROGRAMMING = 2,       // programs a configuration flash through the programmer
    ZEB_FILE_CATEGORY_RAW_FLASH_DATA = 3,          // flash content for a third-party flash programmer
    ZEB_FILE_CATEGORY_JTAG_PLAYER = 4,             // replayed over JTAG by a player
    ZEB_FILE_CATEGORY_PARTIAL_RECONFIGURATION = 5, // belongs to a partial-reconfiguration flow
    ZEB_FILE_CATEGORY_SPLIT_CONFIGURATION = 6,     // one part of a configuration split in core and periphery/HPS
    ZEB_FILE_CATEGORY_MEMORY_MAP = 7,              // describes the layout of a flash image
    ZEB_FILE_CATEGORY_SECURITY_KEY = 8,            // carries key material
    ZEB_FILE_CATEGORY_HELPER_IMAGE = 9,            // programming helper image
    ZEB_FILE_CATEGORY_SRAM_OBJECT = 10,            // an SRAM object file made from another one
    ZEB_FILE_CATEGORY_PASSIVE_SERIAL_HOST = 11,    // usable by a host in the passive serial schemes
    ZEB_FILE_CATEGORY_PARALLEL_HOST = 12,          // usable by a host in the parallel and streaming schemes
};

// One output file type. Field order is the order of aggregate initialisation.
struct ZebFileTypeRecord
{
    bool enabled = false;                           // the type is offered at all
    bool virtual_type = false;                      // stands for a parent and a child file, not written as itself
    bool secondary = false;                         // only written beside a primary output
    bool cmd_only = false;                          // only through the command-line conversion, not in a setup document
    bool independent_of_mode = false;               // valid in every configuration scheme
    bool default_checked_state = false;             // a front end shows it ticked by default
    std::vector<ZEB_FILE_TYPE> secondary_file_type; // secondary files it may bring along, in order
    bool no_input_file = false;                     // produced without an input bitstream
    std::vector<FIO_FILE_TYPE> input_file_type;     // input file kinds it accepts
    std::vector<DEV_FAMILY_ENUM> config_device_family; // configuration flash families it targets
    std::vector<DEV_FAMILY_ENUM> supported_family;     // device families it is offered for (empty: all)
    std::vector<DEV_FAMILY_ENUM> excluded_family;      // device families it is refused for
    std::vector<ZEB_FILE_CATEGORY> file_category;
    std::string description; // display name with the extension in brackets
    bool require_flash_loader = false;
    bool has_option = false;                                       // carries output-file options
    PGM_COMMON_XML_ENUM xml_enum = PGM_COMMON_XML_ENUM__INVALID__; // names the type in a setup document
    FIO_EXTENSION_TYPE fio_ext_enum = FIO_EXTENSION_TYPE_NONE;     // extension of the written file
    std::string file_name_suffix;                                  // put into the parent file's name (virtual types)
    std::string child_file_name_suffix;                            // put into the child file's name (virtual types)
    std::string tooltip;
};

// One configuration scheme.
struct ZebConfigSchemeRecord
{
    bool enabled = false;
    std::vector<ZEB_FILE_TYPE> output_file_type;                   // producible output types, in display order
    std::vector<DEV_FAMILY_ENUM> config_device_family;             // configuration device families usable with it
    PGM_COMMON_XML_ENUM xml_enum = PGM_COMMON_XML_ENUM__INVALID__; // 0 for a scheme without one
};

// One command parameter.
struct ZebCmdParamRecord
{
    bool enabled = false;                                           // can be given by option name
    bool hidden = false;                                            // accepted but not listed in help
    std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> dependent_param; // must be given with this one
    // Values the dependent parameters must have, one per entry of dependent_param; empty: any value.
    std::vector<PGM_COMMON_XML_ENUM> dependent_param_enum_value;
    std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> exclusive_param; // must not be given with this one
    std::string option_name;                                        // "" for none
    std::string description;                                        // help text
    std::vector<DEV_FAMILY_ENUM> supported_family;                  // empty: all
    std::vector<DEV_FAMILY_ENUM> excluded_family;
    std::vector<FIO_FILE_TYPE> supported_input_file_type;    // empty: any input
    std::vector<ZEB_FILE_TYPE> supported_output_file_type;   // empty: any output
    bool enabled_by_ini = false;                             // offered only while a switch is on
    PGM_COMMON_INI_TYPE ini_type = PGM_COMMON_INI_TYPE_NONE; // kind of that switch
    uint32_t ini_key = 0;                                    // number of that switch
};

// Per-key queries over the three tables. get_X returns the field X of the key's record (copies of
// strings and lists); is_X compares it with a value; supports_X tells whether the list X holds an
// element. A key without a record never matches: is_X and supports_X are then false for every
// argument, including the default that get_X returns.
class ZEB_DB
{
public:
    // ---- Output file types -----------------------------------------------------------------------

    // All file types with a record, in the table's fixed order (2, 0, 3, ... 28, 1); never empty.
    static std::vector<ZEB_FILE_TYPE> get_all_output_file_type_keys();

    // false on a missing key.
    static bool get_enabled(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_enabled(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_virtual_type(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_virtual_type(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_secondary(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_secondary(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_cmd_only(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_cmd_only(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_independent_of_mode(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_independent_of_mode(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_default_checked_state(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_default_checked_state(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_no_input_file(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_no_input_file(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_require_flash_loader(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_require_flash_loader(ZEB_FILE_TYPE type, bool value);
    // false on a missing key.
    static bool get_has_option(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_has_option(ZEB_FILE_TYPE type, bool value);
    // 0 (PGM_COMMON_XML_ENUM__INVALID__) on a missing key, as for the types without an XML value.
    static PGM_COMMON_XML_ENUM get_xml_enum(ZEB_FILE_TYPE type);
    // false on a missing key, even for 0.
    static bool is_xml_enum(ZEB_FILE_TYPE type, PGM_COMMON_XML_ENUM value);
    // 0 (FIO_EXTENSION_TYPE_NONE) on a missing key.
    static FIO_EXTENSION_TYPE get_fio_ext_enum(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool is_fio_ext_enum(ZEB_FILE_TYPE type, FIO_EXTENSION_TYPE value);
    // "" on a missing key.
    static std::string get_description(ZEB_FILE_TYPE type);
    // false on a missing key, even for "".
    static bool is_description(ZEB_FILE_TYPE type, const std::string& value);
    // "" on a missing key.
    static std::string get_tooltip(ZEB_FILE_TYPE type);
    // false on a missing key, even for "".
    static bool is_tooltip(ZEB_FILE_TYPE type, const std::string& value);
    // "" on a missing key.
    static std::string get_file_name_suffix(ZEB_FILE_TYPE type);
    // false on a missing key, even for "".
    static bool is_file_name_suffix(ZEB_FILE_TYPE type, const std::string& value);
    // "" on a missing key.
    static std::string get_child_file_name_suffix(ZEB_FILE_TYPE type);
    // false on a missing key, even for "".
    static bool is_child_file_name_suffix(ZEB_FILE_TYPE type, const std::string& value);
    // Empty on a missing key.
    static std::vector<ZEB_FILE_TYPE> get_secondary_file_type(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_secondary_file_type(ZEB_FILE_TYPE type, ZEB_FILE_TYPE element);
    // Empty on a missing key.
    static std::vector<FIO_FILE_TYPE> get_input_file_type(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_input_file_type(ZEB_FILE_TYPE type, FIO_FILE_TYPE element);
    // Empty on a missing key; empty also for every type that is not a flash programming file.
    static std::vector<DEV_FAMILY_ENUM> get_config_device_family(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_config_device_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<DEV_FAMILY_ENUM> get_supported_family(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_supported_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<DEV_FAMILY_ENUM> get_excluded_family(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_excluded_family(ZEB_FILE_TYPE type, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<ZEB_FILE_CATEGORY> get_file_category(ZEB_FILE_TYPE type);
    // false on a missing key.
    static bool supports_file_category(ZEB_FILE_TYPE type, ZEB_FILE_CATEGORY element);

    // ---- Configuration schemes -------------------------------------------------------------------

    // All schemes with a record, in the table's fixed order (0, 1, 2, 3, 8, 7, ... 4, 5).
    static std::vector<PGMIO_CONFIG_SCHEME> get_all_config_mode_keys();

    // false on a missing key.
    static bool get_enabled(PGMIO_CONFIG_SCHEME scheme);
    // false on a missing key.
    static bool is_enabled(PGMIO_CONFIG_SCHEME scheme, bool value);
    // 0 on a missing key.
    static PGM_COMMON_XML_ENUM get_xml_enum(PGMIO_CONFIG_SCHEME scheme);
    // false on a missing key, even for 0.
    static bool is_xml_enum(PGMIO_CONFIG_SCHEME scheme, PGM_COMMON_XML_ENUM value);
    // Empty on a missing key.
    static std::vector<DEV_FAMILY_ENUM> get_config_device_family(PGMIO_CONFIG_SCHEME scheme);
    // false on a missing key.
    static bool supports_config_device_family(PGMIO_CONFIG_SCHEME scheme, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<ZEB_FILE_TYPE> get_output_file_type(PGMIO_CONFIG_SCHEME scheme);
    // false on a missing key.
    static bool supports_output_file_type(PGMIO_CONFIG_SCHEME scheme, ZEB_FILE_TYPE element);

    // ---- Command parameters ----------------------------------------------------------------------

    // All 119 parameters, in the table's fixed order (grouped by element; 0, 1, 2, 3, 4, 44, ... 34).
    static std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> get_all_cmd_param_type_keys();

    // false on a missing key.
    static bool get_enabled(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool is_enabled(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value);
    // false on a missing key.
    static bool get_hidden(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool is_hidden(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value);
    // false on a missing key.
    static bool get_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool is_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, bool value);
    // 0 on a missing key (and on a present key without switch).
    static uint32_t get_ini_key(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool is_ini_key(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, uint32_t value);
    // 0 on a missing key; a present key without switch gives 9 (PGM_COMMON_INI_TYPE_NONE).
    static PGM_COMMON_INI_TYPE get_ini_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool is_ini_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, PGM_COMMON_INI_TYPE value);
    // "" on a missing key.
    static std::string get_description(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key, even for "".
    static bool is_description(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const std::string& value);
    // "" on a missing key.
    static std::string get_option_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key, even for "".
    static bool is_option_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, const std::string& value);
    // Empty on a missing key.
    static std::vector<DEV_FAMILY_ENUM> get_supported_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_supported_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<DEV_FAMILY_ENUM> get_excluded_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_excluded_family(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, DEV_FAMILY_ENUM element);
    // Empty on a missing key.
    static std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> get_dependent_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_dependent_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                         PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM element);
    // Empty on a missing key.
    static std::vector<PGM_COMMON_XML_ENUM> get_dependent_param_enum_value(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_dependent_param_enum_value(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                                    PGM_COMMON_XML_ENUM element);
    // Empty on a missing key.
    static std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> get_exclusive_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_exclusive_param(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param,
                                         PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM element);
    // Empty on a missing key.
    static std::vector<FIO_FILE_TYPE> get_supported_input_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_supported_input_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, FIO_FILE_TYPE element);
    // Empty on a missing key.
    static std::vector<ZEB_FILE_TYPE> get_supported_output_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // false on a missing key.
    static bool supports_supported_output_file_type(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param, ZEB_FILE_TYPE element);
};

// Questions that span several records, display names of the schemes, and the names of the command
// parameters for front ends.
class ZEB_DB_UTIL
{
public:
    // ---- Lists common to several output file types -------------------------------------------------
    // Each walks the types in order, skips a type whose list is empty (it restricts nothing) and
    // otherwise intersects; an empty running result counts as "no restriction yet", so a later list
    // fills it again. The results are sorted ascending.

    // Empty for an empty list or when no type names a family.
    static std::vector<DEV_FAMILY_ENUM> get_common_config_device_families(const std::vector<ZEB_FILE_TYPE>& types);
    // Empty for an empty list or when no type names a category.
    static std::vector<ZEB_FILE_CATEGORY> get_common_file_categories(const std::vector<ZEB_FILE_TYPE>& types);
    // Empty for an empty list or when no type accepts an input.
    static std::vector<FIO_FILE_TYPE> get_common_input_file_types(const std::vector<ZEB_FILE_TYPE>& types);
    // Empty for an empty list or when no type brings a secondary file.
    static std::vector<ZEB_FILE_TYPE> get_common_secondary_file_types(const std::vector<ZEB_FILE_TYPE>& types);
    // The given types, in order, without those in their common secondary list; empty for empty input.
    static std::vector<ZEB_FILE_TYPE> get_primary_file_types(const std::vector<ZEB_FILE_TYPE>& types);

    // ---- Look-ups across the tables ----------------------------------------------------------------

    // The enabled schemes in the fixed key order: 0, 7, 13, 20, 21, 22, 14, 10, 11, 12.
    static std::vector<PGMIO_CONFIG_SCHEME> get_enabled_config_modes();
    // The last type in key order whose extension is `extension`; ZEB_FILE_TYPE_NONE (32) when none.
    static ZEB_FILE_TYPE get_zeb_file_type_enum(FIO_EXTENSION_TYPE extension);
    // The last type in key order whose XML value is `xml_enum` (0 gives 13); ZEB_FILE_TYPE_NONE when none.
    static ZEB_FILE_TYPE get_zeb_file_type_enum(PGM_COMMON_XML_ENUM xml_enum);
    // True when some type lists `type` among its secondary files; false for an unknown type.
    static bool has_parent(ZEB_FILE_TYPE type);
    // True for the configuration device families 10, 22, 23, 37 and 64; false for anything else.
    static bool is_configuration_family(DEV_FAMILY_ENUM family);
    // True for the device families 10, 16, 25, 44, 45 and 67; false for anything else.
    static bool is_supported_family(DEV_FAMILY_ENUM family);
    // True when the type belongs to the category; false for an unknown type.
    static bool is_supported_file_category(ZEB_FILE_TYPE type, ZEB_FILE_CATEGORY category);
    // True when the parameter is not switch-gated or its switch is on; an unknown parameter is not
    // gated (true). A switch type other than 0, 1 or 2 is an internal error "Found unsupported ini type".
    static bool param_enabled_by_ini(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);

    // ---- Names -------------------------------------------------------------------------------------

    // Display name of a scheme ("1-bit Passive Serial"); "Illegal Configuration Scheme" outside 0..24.
    static std::string get_config_scheme_name(PGMIO_CONFIG_SCHEME scheme);
    // The enumerator names of the 119 command parameters ("ZEB_CMD_PARAM_INVALID", ...), by value.
    static const std::array<std::string_view, ZEB_CMD_PARAM_COUNT>& get_cmd_param_enum_names();
    // The enumerator name of a command parameter; "" outside 0..118.
    static std::string get_cmd_param_enum_name(PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM param);
    // Every parameter whose option name is `option_name`, in value order, enabled or not ("bitswap"
    // names three: 2, 15 and 21); empty for an unknown or empty name.
    static std::vector<PGM_COMMON_XML_ZEB_CMD_PARAM_ENUM> find_cmd_params_by_option_name(std::string_view option_name);
};
