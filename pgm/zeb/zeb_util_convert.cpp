// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL conversion of an output file into a conversion setup: settings, output path and type,
// its target (helper image, flash device or bitstream), file options and secondary files.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace
{

// A TCK frequency text: a decimal number of hertz with an optional unit ("10000000", "10MHz",
// "500 kHz", "1.5M"). An empty text keeps the default of the file options; an unreadable one is a
// broken precondition, since the options check accepts only numbers.
long frequency_from_text(const std::string& text, long fallback)
{
    if (text.empty())
        return fallback;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || value <= 0)
        ZEB_UTIL_INTERNAL_ERROR("Invalid SVF frequency");
    std::string unit;
    for (const char* c = end; *c; ++c)
        if (!std::isspace(static_cast<unsigned char>(*c)))
            unit += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
    double scale = 1;
    if (unit == "k" || unit == "khz")
        scale = 1e3;
    else if (unit == "m" || unit == "mhz")
        scale = 1e6;
    else if (!unit.empty() && unit != "hz")
        ZEB_UTIL_INTERNAL_ERROR("Invalid SVF frequency");
    return static_cast<long>(value * scale + 0.5);
}

} // namespace

bool ZEB_UTIL::convert_zeb_to_ccf(PGM_COMMON_XML_ZEB_ZEB* object, PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file,
                                  uint32_t pass, PGMIO_CCF** ccf)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(output_file);
    ZEB_UTIL_ASSERT(ccf);
    auto* file_options = new PGMIO_FILE_OPTIONS();
    // The numbers: one device per chain, first page 0, little-endian words, 10 MHz player clock,
    // wait times as the device states them, player data uncompressed, every written file read back.
    *ccf = new PGMIO_CCF("dummy", "", file_options, 1, 0, false, 10.0, 1.0, false, true);
    if (!convert_zeb_to_ccf_settings(object, *ccf))
        return false;
    return convert_zeb_to_ccf_output_file(object, output_file, pass, *ccf);
}

bool ZEB_UTIL::convert_zeb_to_ccf_settings(PGM_COMMON_XML_ZEB_ZEB* object, PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(ccf);
    const auto& settings = object->get_settings_list();
    ccf->set_passive_prog_mode(settings.empty()
                                   ? PGMIO_CONFIG_SCHEME_AVST_X8
                                   : ZEB_FILE_ASSISTANT::map_enum_to_config_mode(settings.front()->get_mode()));
    return true;
}

bool ZEB_UTIL::convert_zeb_to_ccf_output_file(PGM_COMMON_XML_ZEB_ZEB* object,
                                              PGM_COMMON_XML_ZEB_OUTPUT_FILE* output_file, uint32_t pass,
                                              PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(object);
    ZEB_UTIL_ASSERT(output_file);
    ZEB_UTIL_ASSERT(ccf);
    const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output_file->get_type());
    const FIO_EXTENSION_TYPE extension = ZEB_DB::get_fio_ext_enum(type);
    if (output_file->get_directory().empty())
        ZEB_UTIL_INTERNAL_ERROR("Missing output file directory");
    if (output_file->get_name().empty())
        ZEB_UTIL_INTERNAL_ERROR("Missing output file name");

    const FIO_PATH output_path(output_file->get_directory(), output_file->get_name(),
                               fio_get_extension_string(extension));
    if (!FIO_FILE_SYSTEM::is_directory(FIO_PATH(output_path.get_directory())))
    {
        zeb_post_message(EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS, {output_path.get_directory()});
        return false;
    }

    bool result = false;
    if (type == ZEB_FILE_TYPE_HELPER_RBF_SECONDARY || type == ZEB_FILE_TYPE_HELPER_RBF)
        result = convert_zeb_to_ccf_helper_image(object, ccf, type);
    else if (!output_file->get_flash_device_id_list().empty())
    {
        result = !ZEB_DB::get_require_flash_loader(type) || convert_zeb_to_ccf_flash_loader(object, ccf);
        if (result)
            result = convert_zeb_to_ccf_flash_devices(object, ccf, output_file->get_flash_device_id_list().front());
    }
    else if (!output_file->get_bitstream_id_list().empty())
    {
        const auto& references = output_file->get_bitstream_id_list();
        if (pass >= references.size())
            throw std::out_of_range("invalid vector<T> subscript");
        result = convert_zeb_to_ccf_bitstreams(object, ccf, references[pass], nullptr, type);
    }
    else
        ZEB_UTIL_INTERNAL_ERROR("Missing target object (bitstream or flash_device) in output file");
    if (!result)
        return false;

    const std::vector<FIO_PATH> inputs = ZEB_FILE_ASSISTANT::get_input_file_path(object);
    const FIO_PATH input_path = inputs.empty() ? FIO_PATH() : inputs.front();
    result = convert_zeb_to_ccf_output_file_type(type, output_path, input_path, ccf);
    ccf->set_output_file(&output_path);
    PGM_COMMON_XML_ZEB_FILE_OPTIONS* options = ZEB_FILE_ASSISTANT::get_file_options_element(output_file);
    if (result && options)
        result = convert_zeb_to_ccf_output_file_options_properties(options, type, ccf);
    if (!result)
        return false;

    for (PGM_COMMON_XML_ZEB_SECONDARY_FILE* secondary : ZEB_FILE_ASSISTANT::get_secondary_file_elements(output_file))
    {
        const ZEB_FILE_TYPE secondary_type = ZEB_DB_UTIL::get_zeb_file_type_enum(secondary->get_type());
        FIO_PATH secondary_path;
        if (!secondary->get_name().empty())
        {
            // The secondary file's own extension: a memory map named like its flash file must not
            // take the flash file's place.
            secondary_path = output_path;
            secondary_path.set_base_name(secondary->get_name());
            secondary_path.set_extension(fio_get_extension_string(ZEB_DB::get_fio_ext_enum(secondary_type)));
        }
        if (result)
            result = convert_zeb_to_ccf_output_file_type(secondary_type, secondary_path, FIO_PATH(), ccf);
        PGM_COMMON_XML_ZEB_FILE_OPTIONS* secondary_options = ZEB_FILE_ASSISTANT::get_file_options_element(secondary);
        if (secondary_options && result)
            result = convert_zeb_to_ccf_output_file_options_properties(secondary_options, secondary_type, ccf);
    }
    return result;
}

bool ZEB_UTIL::convert_zeb_to_ccf_output_file_type(ZEB_FILE_TYPE type, FIO_PATH output_path, FIO_PATH input_path,
                                                   PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(ccf);
    PGMIO_FILE_OPTIONS& options = *ccf->get_file_options();
    switch (type)
    {
    case ZEB_FILE_TYPE_RBF:
    case ZEB_FILE_TYPE_RBF_PERIPHERY:
    case ZEB_FILE_TYPE_RBF_PARTIAL_RECONFIGURATION:
        options.write_rbf = true;
        break;
    case ZEB_FILE_TYPE_HEXOUT:
        options.write_hexout = true;
        break;
    case ZEB_FILE_TYPE_TTF:
        options.write_ttf = true;
        break;
    case ZEB_FILE_TYPE_JIC:
    case ZEB_FILE_TYPE_JIC_PERIPHERY:
        options.write_jic = true;
        break;
    case ZEB_FILE_TYPE_POF:
    case ZEB_FILE_TYPE_POF_PERIPHERY:
        options.write_pof = true;
        break;
    case ZEB_FILE_TYPE_RPD:
    case ZEB_FILE_TYPE_RPD_PERIPHERY:
        // Raw programming data is laid out from SRAM object files directly, or taken from the
        // programming file that the conversion writes.
        if (!input_path.is_empty() && input_path.get_extension_type() == FIO_EXTENSION_TYPE_SOF)
            options.write_rpd_from_sof = true;
        else
            options.write_rpd_from_pof = true;
        break;
    case ZEB_FILE_TYPE_MAP:
        ccf->set_mem_map_output(true);
        if (!output_path.is_empty())
            ccf->set_mem_map_file_path(output_path);
        break;
    case ZEB_FILE_TYPE_RPD_SECONDARY:
        ccf->set_auto_create_rpd_output(true);
        if (!output_path.is_empty())
            ccf->set_auto_create_rpd_path(output_path);
        break;
    case ZEB_FILE_TYPE_JAM:
        options.write_jam = true;
        break;
    case ZEB_FILE_TYPE_JBC:
        options.write_jbc = true;
        break;
    case ZEB_FILE_TYPE_SVF:
        options.write_svf = true;
        break;
    case ZEB_FILE_TYPE_EKP:
        ccf->set_gen_kpf(true, PGMIO_CCF_ALL_PAGES, 0, PGMIO_CCF_ALL_PAGES);
        break;
    case ZEB_FILE_TYPE_HELPER_RBF_SECONDARY:
    case ZEB_FILE_TYPE_HELPER_RBF:
        ccf->set_helper_image_output(true);
        if (!output_path.is_empty())
            ccf->set_hlpr_file(&output_path);
        break;
    default:
        ZEB_UTIL_INTERNAL_ERROR("Found unsupported output file type when convert to traditional PGMIO object");
    }
    return true;
}

bool ZEB_UTIL::convert_zeb_to_ccf_output_file_options_properties(PGM_COMMON_XML_ZEB_FILE_OPTIONS* file_options,
                                                                 ZEB_FILE_TYPE type, PGMIO_CCF* ccf)
{
    ZEB_UTIL_ASSERT(file_options);
    ZEB_UTIL_ASSERT(ccf);
    PGMIO_FILE_OPTIONS& options = *ccf->get_file_options();
    if (type == ZEB_FILE_TYPE_HEXOUT)
    {
        options.hex_count_up = file_options->get_direction() == PGM_COMMON_XML_ENUM_UP;
        options.hex_start_address = convert_string_to_dword(file_options->get_s_addr());
        return true;
    }
    // The engine's setting is the inverse of the document's: it says when bits stay as they are.
    ccf->set_no_bit_swap(!file_options->get_bitswap());
    options.start_address = convert_string_to_dword(file_options->get_s_addr());
    if (type == ZEB_FILE_TYPE_SVF)
    {
        const uint32_t mask = ZEB_FILE_ASSISTANT::map_enum_to_pgm_op_mask(file_options->get_operation());
        const long frequency = frequency_from_text(file_options->get_frequency(), options.svf_frequency);
        const SVFE_PROG_VOLTAGE voltage =
            ZEB_FILE_ASSISTANT::map_enum_to_svfe_voltage_type(file_options->get_voltage());
        // Verify alone is operation 3; anything that programs is 0 with the mask of the chain.
        const bool verify_only = (mask & PGMIO_PGM_OP_VERIFY) && !(mask & PGMIO_PGM_OP_PROGRAM);
        options.set_svf_options(verify_only ? 3 : 0, static_cast<int>(voltage), frequency,
                                (mask & PGMIO_PGM_OP_BLANK_CHECK) != 0, false);
    }
    else if (type == ZEB_FILE_TYPE_JIC)
        ccf->set_jic_output(true);
    return true;
}
