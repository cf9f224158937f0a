// SPDX-License-Identifier: Apache-2.0
// The flash-device database: catalogue flash devices plus user-defined ones from a custom
// database directory.
//
// The custom directory is process-wide: setting it reads every "*.json" file at once, so a
// malformed file is reported when the directory is set, not at some later look-up. A manager takes
// the device set that is current when it is constructed. Sets that were once in use are kept until
// the process ends, so records handed out never dangle.
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/dev/dev_catalogue.h"

#include <algorithm>
#include <filesystem>
#include <mutex>

namespace
{

using DEVICE_SET = std::vector<DEV_FLASH_RECORD>;

// More files than this in a custom directory is taken for a wrong directory, not read.
constexpr size_t k_max_custom_files = 1000;

struct CUSTOM_STATE
{
    std::mutex mutex;
    std::string directory;
    std::shared_ptr<const DEVICE_SET> devices = std::make_shared<const DEVICE_SET>();
    std::string last_error;
    std::vector<std::shared_ptr<const DEVICE_SET>> retained;
};

CUSTOM_STATE& custom_state()
{
    static CUSTOM_STATE state;
    return state;
}

// Reads every "*.json" file of the directory, in file-name order. False with the error.
bool read_custom_directory(const std::string& directory, DEVICE_SET& devices, std::string& error)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::file_status status = fs::status(directory, ec);
    if (ec || !fs::exists(status))
    {
        error = directory + ": custom database directory does not exist";
        return false;
    }
    if (!fs::is_directory(status))
    {
        error = directory + ": custom database directory is not a directory";
        return false;
    }
    std::vector<std::string> files;
    for (fs::directory_iterator it(directory, ec), end; !ec && it != end; it.increment(ec))
    {
        std::error_code type_ec;
        if (it->path().extension() == ".json" && !it->is_directory(type_ec))
            files.push_back(it->path().string());
        if (files.size() > k_max_custom_files)
        {
            error = directory + ": more than " + std::to_string(k_max_custom_files) + " custom database files";
            return false;
        }
    }
    if (ec)
    {
        error = directory + ": cannot list the custom database directory: " + ec.message();
        return false;
    }
    std::sort(files.begin(), files.end());
    for (const std::string& file : files)
    {
        const size_t first_new = devices.size();
        if (!dev_read_custom_flash_file(file, devices, error))
            return false;
        for (size_t i = first_new; i < devices.size(); ++i)
        {
            const DEV_FLASH_RECORD& device = devices[i];
            for (size_t j = 0; j < first_new; ++j)
            {
                if (devices[j].name == device.name)
                {
                    error = file + ": flash device '" + device.name + "' is already defined in " + devices[j].source;
                    return false;
                }
            }
            if (PGM_DEVICE_INDEX::lookup_device(device.name))
            {
                error = file + ": flash device '" + device.name + "' is already a device of the catalogue";
                return false;
            }
        }
    }
    return true;
}

const DEV_FLASH_RECORD* find_in(const DEVICE_SET& devices, std::string_view name)
{
    for (const DEV_FLASH_RECORD& device : devices)
        if (device.name == name)
            return &device;
    return nullptr;
}

} // namespace

GFPDB_QSPI_MGR::GFPDB_QSPI_MGR()
{
    CUSTOM_STATE& state = custom_state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    m_custom = state.devices;
}

const DEV_FLASH_RECORD* GFPDB_QSPI_MGR::find_device(std::string_view name, bool include_custom) const
{
    if (const DEV_FLASH_RECORD* device = find_in(dev_get_catalogue().flash_devices, name))
        return device;
    return include_custom ? find_in(*m_custom, name) : nullptr;
}

bool GFPDB_QSPI_MGR::device_exist_in_db(std::string_view name, bool include_custom) const
{
    return find_device(name, include_custom) != nullptr;
}

bool GFPDB_QSPI_MGR::device_is_legacy(std::string_view name, bool include_custom) const
{
    const DEV_FLASH_RECORD* device = find_device(name, include_custom);
    return device && device->legacy;
}

std::vector<const DEV_FLASH_RECORD*> GFPDB_QSPI_MGR::get_devices(bool include_custom) const
{
    std::vector<const DEV_FLASH_RECORD*> devices;
    for (const DEV_FLASH_RECORD& device : dev_get_catalogue().flash_devices)
        devices.push_back(&device);
    if (include_custom)
        for (const DEV_FLASH_RECORD& device : *m_custom)
            devices.push_back(&device);
    return devices;
}

bool GFPDB_QSPI_MGR::set_db_custom_dir(const std::string& directory, std::string* error)
{
    auto devices = std::make_shared<DEVICE_SET>();
    std::string problem;
    // Read outside the lock: the catalogue look-ups may load the catalogue, and reading a large
    // directory should not hold up other threads' managers.
    const bool ok = directory.empty() || read_custom_directory(directory, *devices, problem);
    if (!ok)
        devices->clear();

    CUSTOM_STATE& state = custom_state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!state.devices->empty())
        state.retained.push_back(state.devices);
    state.devices = std::move(devices);
    state.directory = ok ? directory : std::string();
    state.last_error = problem;
    if (error)
        *error = problem;
    return ok;
}

std::string GFPDB_QSPI_MGR::get_db_custom_dir()
{
    CUSTOM_STATE& state = custom_state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.directory;
}

std::string GFPDB_QSPI_MGR::last_error()
{
    CUSTOM_STATE& state = custom_state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.last_error;
}
