// SPDX-License-Identifier: Apache-2.0
// ZEB_UTIL: prechecks of input files and the integrity check of written programming files.
#include "pgm/zeb/zeb_util.h"

#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/zeb_messages.h"

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
    bool ok = true;
    std::string reason;
    switch (extension)
    {
    case FIO_EXTENSION_TYPE_SOF:
    case FIO_EXTENSION_TYPE_POF:
    case FIO_EXTENSION_TYPE_MSF:
    case FIO_EXTENSION_TYPE_PMSF:
    case FIO_EXTENSION_TYPE_JIC:
        ok = PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(path, device, info, reason);
        break;
    case FIO_EXTENSION_TYPE_RBF:
        if (check_raw_binary)
            ok = PGMIO_POFIO_UTIL_EXPORT::precheck_raw_binary_file(path, device, info, reason);
        break;
    default:
        break;
    }
    if (ok)
        return true;
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
