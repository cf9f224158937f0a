// SPDX-License-Identifier: Apache-2.0
// Consistency rules that run after the settings check has passed: they catch documents that the
// settings check accepts but from which no correct programming file can be made (address texts
// read only in part, reversed or oversized partitions, references that name nothing, content
// larger than its partition, a design for another FPGA than the flash loader, an encryption key
// that its key file does not hold). Front ends and generation run them before any file is written.
#pragma once

#include "pgm/zeb/zeb_util.h"

#include <string>
#include <vector>

// The first finding: a message of the library's table and its arguments.
struct ZEB_CONSISTENCY_FINDING
{
    ZEB_MSG_ID id = EZEB_SETTINGS_CHECK_ERROR;
    std::vector<std::string> args;
};

// True when no rule finds a problem. Otherwise false with the first finding; nothing is posted.
bool zeb_check_consistency(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding);

// The first rule alone: every partition address is "auto" or a whole address (below).
bool zeb_check_address_texts(PGM_COMMON_XML_ZEB_ZEB* object, ZEB_CONSISTENCY_FINDING& finding);

// Posts a finding as its message.
void zeb_report_finding(const ZEB_CONSISTENCY_FINDING& finding);

// Runs zeb_check_consistency and posts its finding; true when there was none.
bool zeb_check_consistency_and_report(PGM_COMMON_XML_ZEB_ZEB* object);

// True when `text` is "auto" or an address that ZEB_UTIL::convert_string_to_dword reads whole:
// "0x" followed by 1 to 8 hexadecimal digits, or decimal digits only, within 32 bits.
bool zeb_is_address_text(const std::string& text);
