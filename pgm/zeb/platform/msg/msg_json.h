// SPDX-License-Identifier: Apache-2.0
// The outcome of a check as one JSON object, for scripts that read a run's result.
#pragma once

#include "pgm/zeb/platform/msg/msg.h"

#include <string>
#include <vector>

// {"file": ..., "ok": true} when `ok`; otherwise {"file": ..., "ok": false, "number": N,
// "identifier": ..., "kind": "error", "text": ...} of the first error (or, without one, the first
// message) among `messages`. One line, no trailing newline.
std::string msg_check_result_json(const std::string& file, bool ok, const std::vector<MSG_POSTED>& messages);
