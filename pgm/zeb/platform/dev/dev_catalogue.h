// SPDX-License-Identifier: Apache-2.0
// Reading of the device catalogue and of custom flash-device files (internal to the device library).
#pragma once

#include "pgm/zeb/platform/dev/dev.h"

#include <string>
#include <vector>

// The whole catalogue of one data directory, checked for consistency.
struct DEV_CATALOGUE
{
    std::vector<DEV_FAMILY_RECORD> families;
    std::vector<DEV_DEVICE_RECORD> devices;
    std::vector<DEV_FLASH_RECORD> flash_devices;
};

// Catalogue files relative to the data directory.
constexpr const char* DEV_DEVICES_FILE = "data/devices.json";
constexpr const char* DEV_FLASH_DEVICES_FILE = "data/flash_devices.json";

// Reads and checks both catalogue files of a data directory. False with "<file>: <problem>" in
// `error` when a file is missing, unreadable, malformed or inconsistent; `catalogue` is then unspecified.
bool dev_read_catalogue(const std::string& data_directory, DEV_CATALOGUE& catalogue, std::string& error);

// Reads one custom flash-device file and appends its devices. False with "<file>: <problem>".
bool dev_read_custom_flash_file(const std::string& path, std::vector<DEV_FLASH_RECORD>& devices, std::string& error);

// The catalogue of the suite's data directory, read on first use; empty when it failed to load.
const DEV_CATALOGUE& dev_get_catalogue();
// Why the catalogue failed to load; "" when it loaded.
const std::string& dev_get_catalogue_error();
