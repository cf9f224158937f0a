// SPDX-License-Identifier: Apache-2.0
#include "pgm/zeb/platform/msg/msg_json.h"

#include <nlohmann/json.hpp>

std::string msg_check_result_json(const std::string& file, bool ok, const std::vector<MSG_POSTED>& messages)
{
    nlohmann::ordered_json result;
    result["file"] = file;
    result["ok"] = ok;
    if (!ok)
    {
        const MSG_POSTED* first = messages.empty() ? nullptr : &messages.front();
        for (const MSG_POSTED& message : messages)
        {
            if (message.kind == MSG_KIND_ERROR)
            {
                first = &message;
                break;
            }
        }
        if (first)
        {
            static const char* const k_kinds[] = {"error", "warning", "info"};
            result["number"] = first->number;
            result["identifier"] = first->identifier;
            result["kind"] = k_kinds[first->kind];
            result["text"] = first->text;
        }
    }
    return result.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string msg_json_string(std::string_view text)
{
    return nlohmann::json(std::string(text)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
