// SPDX-License-Identifier: Apache-2.0
// The outcome of a check as one JSON object, for scripts that read a run's result.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"

#include <string>
#include <string_view>
#include <vector>

// {"file": ..., "ok": true} when `ok`; otherwise {"file": ..., "ok": false, "number": N,
// "identifier": ..., "kind": "error", "text": ...} of the first error (or, without one, the first
// message) among `messages`. One line, no trailing newline.
std::string msg_check_result_json(const std::string& file, bool ok, const std::vector<MSG_POSTED>& messages);

// `text` as a JSON string literal, quotes included. Bytes that are not UTF-8 (a file name or a
// record of a binary file) become U+FFFD, so the output is always valid JSON.
std::string msg_json_string(std::string_view text);
