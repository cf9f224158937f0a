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

// Consistency of one device as read from a file: "" when consistent, else "<field>: <problem>".
std::string dev_check_device_record(const DEV_DEVICE_RECORD& record);
// The same for a flash device; a custom one has no device number and no PCF record.
std::string dev_check_flash_record(const DEV_FLASH_RECORD& record, bool custom);
// Rules across the whole catalogue (unique names, device numbers, IDCODEs and silicon ids; one
// block layout per family): "" or "<file>: <problem>".
std::string dev_check_catalogue(const DEV_CATALOGUE& catalogue, const std::string& devices_file,
                                const std::string& flash_file);
// "0x1A00000": how sizes, codes and identities appear in messages.
std::string dev_hex(uint64_t value);

// The catalogue of the suite's data directory, read on first use; empty when it failed to load.
const DEV_CATALOGUE& dev_get_catalogue();
// Why the catalogue failed to load; "" when it loaded.
const std::string& dev_get_catalogue_error();
