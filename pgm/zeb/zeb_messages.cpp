// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/zeb_messages.h"

#include <iterator>

namespace
{

// The library's messages. Texts are the user-visible wording, kept as they stand.
// clang-format off
constexpr MSG_RECORD k_messages[] = {
    {EZEB_FILE_IO_ERROR, "EZEB_FILE_IO_ERROR", MSG_KIND_ERROR, "Can't save or open file %1!s!"},
    {EZEB_SETTINGS_CHECK_ERROR, "EZEB_SETTINGS_CHECK_ERROR", MSG_KIND_ERROR, "Detected Corvane settings error: %1!s!"},
    {EZEB_INTEGRITY_CHECK_ERROR, "EZEB_INTEGRITY_CHECK_ERROR", MSG_KIND_ERROR, "The programming file integrity check failed. %1!s!"},
    {EZEB_CORRUPTED_FILE_WITH_REASON, "EZEB_CORRUPTED_FILE_WITH_REASON", MSG_KIND_ERROR, "File %1!s! is corrupted. %2!s!"},
    {EZEB_CAN_NOT_GENERATE, "EZEB_CAN_NOT_GENERATE", MSG_KIND_ERROR, "Cannot generate programming file %1!s!"},
    {EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS, "EZEB_OUTPUT_DIRECTORY_DOES_NOT_EXISTS", MSG_KIND_ERROR, "Output directory \"%1!s!\" doesn't exists. Please specify a valid output directory."},
    {EZEB_GENERIC_ERROR, "EZEB_GENERIC_ERROR", MSG_KIND_ERROR, "Can't generate programming file %1!s! - %2!s!."},
    {IZEB_ZEB_SUCCESSFULLY_SAVED, "IZEB_ZEB_SUCCESSFULLY_SAVED", MSG_KIND_INFO, "Saved Corvane Setup File %1!s!"},
    {WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE, "WZEB_FILE_TYPE_DOES_NOT_SUPPORT_ZEB_SETUP_FILE", MSG_KIND_WARNING, "Cannot generate Corvane Setup File (.zeb) for output file type %1!s!. The output file type can only be supported through the -c or --convert command option. Remove --save command option to avoid this warning."},
    {EZEB_ADDRESS_TEXT_INVALID, "EZEB_ADDRESS_TEXT_INVALID", MSG_KIND_ERROR, "Address %5!s!='%1!s!' of partition %2!s! of flash device %3!s! is not an address: it would be read as %4!s!. Write 0x followed by 1 to 8 hexadecimal digits (0x01F00000), or auto."},
    {EZEB_PARTITION_RANGE_REVERSED, "EZEB_PARTITION_RANGE_REVERSED", MSG_KIND_ERROR, "Partition %1!s! of flash device %2!s! ends at %3!s!, below its start %4!s!."},
    {EZEB_PARTITION_BEYOND_FLASH, "EZEB_PARTITION_BEYOND_FLASH", MSG_KIND_ERROR, "Partition %1!s! [%2!s!] of flash device %3!s! lies beyond the end of the flash (%4!s! bytes, last address %5!s!)."},
    {EZEB_UNRESOLVED_REFERENCE, "EZEB_UNRESOLVED_REFERENCE", MSG_KIND_ERROR, "%1!s! '%2!s!' of %3!s! names no %4!s! of the document."},
    {EZEB_CONTENT_DOES_NOT_FIT, "EZEB_CONTENT_DOES_NOT_FIT", MSG_KIND_ERROR, "Input %1!s! (%2!s! bytes) does not fit partition %3!s! of flash device %4!s!: %5!s!."},
    {EZEB_INPUT_FOR_OTHER_DEVICE, "EZEB_INPUT_FOR_OTHER_DEVICE", MSG_KIND_ERROR, "Input %1!s! is a design for %2!s!, but the flash loader, the FPGA that boots from flash device %4!s!, is %3!s!."},
    {EZEB_KEY_NOT_IN_KEY_FILE, "EZEB_KEY_NOT_IN_KEY_FILE", MSG_KIND_ERROR, "Key '%1!s!' of input %2!s! is not in key file %3!s! as a key of %4!s! hexadecimal digits, the key length of %5!s!."},
};
// clang-format on

bool register_messages()
{
    msg_register_table(k_messages, std::size(k_messages));
    return true;
}

// Registered when the library is loaded; zeb_post_message makes sure of it for callers that run
// during static initialisation.
const bool k_registered_at_load = register_messages();

} // namespace

void zeb_post_message(ZEB_MSG_ID id, const std::vector<std::string>& args)
{
    static const bool registered = register_messages();
    (void)registered;
    (void)k_registered_at_load;
    msg_post(id, args);
}
