// SPDX-License-Identifier: Apache-2.0
// Messages of the setup-document library (numbers in zeb_util.h) and the internal-error macro of
// ZEB_UTIL.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/zeb_util.h"

#include <string>
#include <vector>

// Posts one of the library's messages; the table is registered with the message library on the
// first call at the latest.
void zeb_post_message(ZEB_MSG_ID id, const std::vector<std::string>& args);

// Module tag and source of ZEB_UTIL's internal errors.
#define ZEB_UTIL_ASSERT(condition) MSG_ASSERT_AT(condition, "ZEB_COMMON", "pgm/zeb/zeb_util")
#define ZEB_UTIL_INTERNAL_ERROR(text) MSG_INTERNAL_ERROR_AT(text, "ZEB_COMMON", "pgm/zeb/zeb_util")
// The debug log of the library, printf-style, at level 2.
#define ZEB_DEBUG(...) msg_local_vdebug("ZEB_COMMON", 2, __VA_ARGS__)
