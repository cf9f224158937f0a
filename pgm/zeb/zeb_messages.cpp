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
