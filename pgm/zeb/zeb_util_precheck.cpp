// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: prechecks of input files and the integrity check of written programming files.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/zeb_messages.h"
#include "pgm/zeb/zeb_util_precheck_scope.h"

#include <map>
#include <mutex>
#include <tuple>

namespace
{

// Prechecks already made in the current scope (zeb_util_precheck_scope.h): a precheck reads and
// decodes the whole file.
struct PRECHECK_OUTCOME
{
    bool ok = false;
    const PGM_DEVICE* device = nullptr;
    PGMIO_PRECHECK_INFO info;
    std::string reason;
};
using PRECHECK_KEY = std::tuple<std::string, FIO_FILE_IDENTITY, bool>;

std::mutex g_precheck_mutex;
std::map<PRECHECK_KEY, PRECHECK_OUTCOME> g_prechecks;
unsigned g_scope_depth = 0;

} // namespace

ZEB_PRECHECK_SCOPE::ZEB_PRECHECK_SCOPE()
{
    std::lock_guard<std::mutex> lock(g_precheck_mutex);
    ++g_scope_depth;
}

ZEB_PRECHECK_SCOPE::~ZEB_PRECHECK_SCOPE()
{
    std::lock_guard<std::mutex> lock(g_precheck_mutex);
    if (--g_scope_depth == 0)
        g_prechecks.clear();
}

bool ZEB_UTIL::precheck_input_file(const FIO_PATH& path, const PGM_DEVICE** device, PGMIO_PRECHECK_INFO* info,
                                   std::string& message, std::string& detail, bool check_raw_binary)
{
    ZEB_UTIL_ASSERT(device);
    *device = nullptr;
    if (info)
        *info = PGMIO_PRECHECK_INFO{};
    if (!check_file_exist(path, message))
    {
        detail = message;
        return false;
    }
    const FIO_EXTENSION_TYPE extension = path.get_extension_type();
    const bool object_file = extension == FIO_EXTENSION_TYPE_SOF || extension == FIO_EXTENSION_TYPE_POF ||
                             extension == FIO_EXTENSION_TYPE_MSF || extension == FIO_EXTENSION_TYPE_PMSF ||
                             extension == FIO_EXTENSION_TYPE_JIC;
    const bool raw_binary = extension == FIO_EXTENSION_TYPE_RBF && check_raw_binary;
    if (!object_file && !raw_binary)
        return true;

    PRECHECK_KEY key{path.get_full_path(), {}, raw_binary};
    const bool cacheable = fio_get_file_identity(path.get_full_path(), std::get<1>(key));
    PRECHECK_OUTCOME outcome;
    bool known = false;
    if (cacheable)
    {
        std::lock_guard<std::mutex> lock(g_precheck_mutex);
        const auto found = g_prechecks.find(key);
        if ((known = found != g_prechecks.end()))
            outcome = found->second;
    }
    if (!known)
    {
        outcome.ok = object_file ? PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(path, &outcome.device,
                                                                                 &outcome.info, outcome.reason)
                                 : PGMIO_POFIO_UTIL_EXPORT::precheck_raw_binary_file(path, &outcome.device,
                                                                                     &outcome.info, outcome.reason);
        std::lock_guard<std::mutex> lock(g_precheck_mutex);
        if (cacheable && g_scope_depth > 0)
            g_prechecks.insert_or_assign(key, outcome);
    }
    if (outcome.ok)
    {
        *device = outcome.device;
        if (info)
            *info = outcome.info;
        return true;
    }
    const std::string& reason = outcome.reason;
    ZEB_DEBUG("Precheck of %s failed: %s", path.get_full_path().c_str(), reason.c_str());
    // The detail first: a caller may pass one string for both, and then the message must win.
    detail = reason;
    message =
        "Failed to parse " + path.get_full_path() + ". The file is corrupted or the targeted device is not supported.";
    return false;
}

bool ZEB_UTIL::precheck_input_file(const FIO_PATH& path, const PGM_DEVICE** device, std::string& message,
                                   std::string& detail, bool check_raw_binary)
{
    return precheck_input_file(path, device, nullptr, message, detail, check_raw_binary);
}

bool ZEB_UTIL::check_integrity(const FIO_PATH& path)
{
    const std::string reason = BITASM_MGR::check_bitstream_integrity(path.get_full_path());
    if (reason.empty())
        return true;
    zeb_post_message(EZEB_INTEGRITY_CHECK_ERROR, {path.get_full_path() + ": " + reason});
    return false;
}
