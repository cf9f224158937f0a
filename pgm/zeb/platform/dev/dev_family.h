// SPDX-License-Identifier: Apache-2.0
// Device families and devices of the device database, as the setup-document library sees them:
// plain integers that tables store and compare. The device catalogue gives each device its family.
#pragma once

#include <cstdint>

// Values are stable: the capability tables, the catalogue and the family tests use the numbers.
enum DEV_FAMILY_ENUM : uint32_t
{
    DEV_FAMILY_INVALID = 0,
    DEV_FAMILY_VIVERI = 10,     // serial configuration flash devices
    DEV_FAMILY_ROGIRA = 15,     // FPGA family with a boot-information header
    DEV_FAMILY_ZUVOKO = 16,     // FPGA family with configuration via PCI Express
    DEV_FAMILY_GADOGO = 22,     // configuration device family
    DEV_FAMILY_NADERE = 23,     // configuration device family
    DEV_FAMILY_ZIZIRA = 25,     // FPGA family with block layout, remote update, HPS, CvP and helper images
    DEV_FAMILY_BILOSA_CFI = 37, // parallel (CFI) flash devices
    DEV_FAMILY_ZATATA = 44,     // FPGA family without block layout
    DEV_FAMILY_RERATI = 45,     // FPGA family with block layout, remote update, HPS and helper images
    DEV_FAMILY_DESIDI = 47,     // FPGA family with a boot-information header
    DEV_FAMILY_KUVINO = 64,     // configuration device family
    DEV_FAMILY_MOZOKA = 67,     // FPGA family with internal configuration flash (UFM, CFM0, CFM1)
    DEV_FAMILY_GENERIC = 68,    // family given to a device that the database does not know
};

// Devices are numbered by the catalogue; 0 is no device.
enum DEV_DEVICE_ENUM : uint32_t
{
    DEV_DEVICE_INVALID = 0,
};
