// SPDX-License-Identifier: Apache-2.0
// Uses every public header of the installed library: reads a setup document, asks the capability
// database about its output file, and writes and reads a key file.
#include <pgm/zeb/key_files.h>
#include <pgm/zeb/platform/pgm_common_xml_zeb_auto_export.h>
#include <pgm/zeb/zeb_db_util.h>
#include <pgm/zeb/zeb_file_assistant.h>
#include <pgm/zeb/zeb_util.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::cerr << "usage: app SETUP.zeb SCRATCH_DIR\n";
        return 2;
    }
    PGM_COMMON_XML_ZEB_ZEB* raw = nullptr;
    const bool parsed = ZEB_UTIL::parse(&raw, argv[1]);
    std::unique_ptr<PGM_COMMON_XML_ZEB_ZEB> document(raw);
    if (!parsed)
        return 1;

    const auto* output = static_cast<const PGM_COMMON_XML_ZEB_OUTPUT_FILE*>(
        document->get_element(PGM_COMMON_XML_ENUM_ZEB_OUTPUT_FILE, 0, true));
    if (!output)
        return 1;
    const ZEB_FILE_TYPE type = ZEB_DB_UTIL::get_zeb_file_type_enum(output->get_type());
    std::cout << "output: " << ZEB_DB::get_description(type) << '\n';

    const std::string keys = std::string(argv[2]) + "/keys.txt";
    if (!ZEB_KEY_FILE_ASSISTANT::write_key_file(keys, {{"k", "0123"}}) ||
        ZEB_KEY_FILE_ASSISTANT::get_key_from_key_file(keys, "k", 16) != "0123")
        return 1;
    const PGM_COMMON_XML_ZEB_CMD_OPT_ENUM opt = static_cast<PGM_COMMON_XML_ZEB_CMD_OPT_ENUM>(4);
    std::cout << "element kind " << static_cast<int>(opt) << '\n';
    return ZEB_UTIL::save(document.get(), std::string(argv[2]) + "/saved.zeb") ? 0 : 1;
}
