// SPDX-License-Identifier: Apache-2.0
// Documents a user can write but the library takes as broken preconditions (an MBR, an address it
// cannot read, an input of no known kind, several inputs where one is taken): refused here, before
// any library check, with a message that names the element, the attribute and the text.
#include "cli.h"

#include "pgm/zeb/zeb_db_util.h"
#include "pgm/zeb/zeb_file_assistant.h"
#include "pgm/zeb/zeb_util.h"
#include "pgm/zeb/zeb_util_check_consistency.h"

#include <iostream>

namespace
{

// Input extensions the checks read a target device from, and those that target none.
constexpr FIO_EXTENSION_TYPE k_design_inputs[] = {FIO_EXTENSION_TYPE_SOF, FIO_EXTENSION_TYPE_POF,
                                                  FIO_EXTENSION_TYPE_JIC, FIO_EXTENSION_TYPE_MSF,
                                                  FIO_EXTENSION_TYPE_PMSF, FIO_EXTENSION_TYPE_RBF};
constexpr FIO_EXTENSION_TYPE k_key_inputs[] = {FIO_EXTENSION_TYPE_CDF, FIO_EXTENSION_TYPE_EKP, FIO_EXTENSION_TYPE_HKY,
                                               FIO_EXTENSION_TYPE_HEK, FIO_EXTENSION_TYPE_FUSE};

template <size_t N> bool listed(const FIO_EXTENSION_TYPE (&list)[N], FIO_EXTENSION_TYPE extension)
{
    for (FIO_EXTENSION_TYPE entry : list)
        if (entry == extension)
            return true;
    return false;
}

// Output types written from the document's single input; the first group also needs to be the
// document's single output.
bool single_output_type(ZEB_FILE_TYPE type)
{
    return type == ZEB_FILE_TYPE_SOF || (type >= ZEB_FILE_TYPE_JAM && type <= ZEB_FILE_TYPE_SVF);
}
bool single_input_type(ZEB_FILE_TYPE type)
{
    return single_output_type(type) || type == ZEB_FILE_TYPE_EKP;
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string find_mbr(PGM_COMMON_XML_ZEB_ZEB* document)
{
    for (const PGM_COMMON_XML_ZEB_FLASH_DEVICE* device : ZEB_FILE_ASSISTANT::get_flash_device_elements(document))
        if (!device->get_mbr_list().empty())
            return "flash_device id=" + quoted(device->get_id()) + " has an mbr element (id=" +
                   quoted(device->get_mbr_list().front()->get_id()) +
                   "): partitions in a master boot record are not supported; place them directly in the "
                   "flash_device";
    return {};
}

std::string find_unknown_input(PGM_COMMON_XML_ZEB_ZEB* document)
{
    for (const PGM_COMMON_XML_ZEB_BITSTREAM* bitstream : ZEB_FILE_ASSISTANT::get_bitstream_elements(document))
        for (const PGM_COMMON_XML_ZEB_PATH* path : bitstream->get_path_list())
        {
            const FIO_EXTENSION_TYPE extension = FIO_PATH(path->get_text()).get_extension_type();
            if (!listed(k_design_inputs, extension) && !listed(k_key_inputs, extension))
                return "path " + quoted(path->get_text()) + " of bitstream id=" + quoted(bitstream->get_id()) +
                       " is not an input of a known kind: name a .sof, .pof, .jic, .msf, .pmsf or .rbf file, or "
                       "a .cdf, .ekp, .hky, .hek or .fuse file for key programming";
        }
    return {};
}

std::string find_ambiguous_input(PGM_COMMON_XML_ZEB_ZEB* document)
{
    const std::vector<PGM_COMMON_XML_ZEB_OUTPUT_FILE*> outputs = ZEB_FILE_ASSISTANT::get_output_file_elements(document);
    const size_t inputs = ZEB_FILE_ASSISTANT::get_path_elements(document).size();
    for (const PGM_COMMON_XML_ZEB_OUTPUT_FILE* output : outputs)
    {
        const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output->get_type());
        const std::string label = "output_file name=" + quoted(output->get_name()) + " type=" +
                                  quoted(std::string(pgm_common_xml_enum_name(output->get_type())));
        if (single_input_type(type) && inputs != 1)
            return label + " is written from exactly one input, but the document has " + std::to_string(inputs) +
                   " path elements";
        if (single_output_type(type) && outputs.size() != 1)
            return label + " must be the only output_file of the document, which has " +
                   std::to_string(outputs.size());
    }
    return {};
}

bool refuse(const std::string& problem)
{
    if (problem.empty())
        return false;
    ZEB_CONSISTENCY_FINDING finding;
    finding.args = {problem};
    zeb_report_finding(finding);
    return true;
}

bool addresses_readable(PGM_COMMON_XML_ZEB_ZEB* document)
{
    ZEB_CONSISTENCY_FINDING finding;
    if (zeb_check_address_texts(document, finding))
        return true;
    zeb_report_finding(finding);
    return false;
}

} // namespace

bool cli_document_checkable(PGM_COMMON_XML_ZEB_ZEB* document)
{
    return addresses_readable(document) && !refuse(find_mbr(document)) &&
           !refuse(find_unknown_input(document)) && !refuse(find_ambiguous_input(document));
}

bool cli_save_document(PGM_COMMON_XML_ZEB_ZEB* document, const std::string& path)
{
    if (ZEB_FILE_ASSISTANT::get_output_file_elements(document).empty())
    {
        std::cerr << "corvane: --save " << path
                  << ": the document has no output_file element; a setup document is saved with at least one\n";
        return false;
    }
    return ZEB_UTIL::save(document, path);
}
