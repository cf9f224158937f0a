// SPDX-License-Identifier: Apache-2.0
// Values of the programming-file library that the setup-document library produces: configuration
// schemes, programming operations, security option levels and SVF voltages. The numbers are part
// of the library's interface; tables store them.
#pragma once

#include <cstdint>

// How a device loads its configuration. Display names: ZEB_DB_UTIL::get_config_scheme_name.
enum PGMIO_CONFIG_SCHEME : int32_t
{
    PGMIO_CONFIG_SCHEME_PS_X1 = 0,                         // 1-bit passive serial
    PGMIO_CONFIG_SCHEME_PS_X2 = 1,                         // 2-bit passive serial
    PGMIO_CONFIG_SCHEME_PS_X4 = 2,                         // 4-bit passive serial
    PGMIO_CONFIG_SCHEME_PS_X8 = 3,                         // 8-bit passive serial
    PGMIO_CONFIG_SCHEME_PP_ASYNC = 4,                      // passive parallel asynchronous
    PGMIO_CONFIG_SCHEME_PP_SYNC = 5,                       // passive parallel synchronous
    PGMIO_CONFIG_SCHEME_FPP = 6,                           // fast passive parallel
    PGMIO_CONFIG_SCHEME_AS = 7,                            // active serial
    PGMIO_CONFIG_SCHEME_AP = 8,                            // active parallel
    PGMIO_CONFIG_SCHEME_AP_CASCADE = 9,                    // active parallel cascade
    PGMIO_CONFIG_SCHEME_PP_X8 = 10,                        // passive parallel x8
    PGMIO_CONFIG_SCHEME_PP_X16 = 11,                       // passive parallel x16
    PGMIO_CONFIG_SCHEME_PP_X32 = 12,                       // passive parallel x32
    PGMIO_CONFIG_SCHEME_AS_X4 = 13,                        // active serial x4
    PGMIO_CONFIG_SCHEME_INTERNAL = 14,                     // internal configuration
    PGMIO_CONFIG_SCHEME_SINGLE_IMAGE = 15,                 // single internal image
    PGMIO_CONFIG_SCHEME_SINGLE_IMAGE_ERAM = 16,            // single internal image with ERAM
    PGMIO_CONFIG_SCHEME_SINGLE_COMPRESSED_IMAGE = 17,      // single internal compressed image
    PGMIO_CONFIG_SCHEME_SINGLE_COMPRESSED_IMAGE_ERAM = 18, // single internal compressed image with ERAM
    PGMIO_CONFIG_SCHEME_DUAL_COMPRESSED_IMAGES = 19,       // dual compressed internal images
    PGMIO_CONFIG_SCHEME_AVST_X8 = 20,                      // streaming x8
    PGMIO_CONFIG_SCHEME_AVST_X16 = 21,                     // streaming x16
    PGMIO_CONFIG_SCHEME_AVST_X32 = 22,                     // streaming x32
    PGMIO_CONFIG_SCHEME_SDMMC_X4 = 23,                     // SD/MMC x4
    PGMIO_CONFIG_SCHEME_SDMMC_X8 = 24,                     // SD/MMC x8
    PGMIO_CONFIG_SCHEME_ILLEGAL = 25,                      // no valid scheme (also: a document without mode)
};

// Bits of a programming operation mask; a mask may combine them (program and blank-check is 0x5).
enum PGMIO_PGM_OP_MASK : uint32_t
{
    PGMIO_PGM_OP_PROGRAM = 0x1,
    PGMIO_PGM_OP_VERIFY = 0x2,
    PGMIO_PGM_OP_BLANK_CHECK = 0x4,
};

// Level of a bitstream security option (no_jtag, no_config, ...): how firmly the option is set.
enum PGMIO_SECURITY_LEVEL : uint32_t
{
    PGMIO_SECURITY_LEVEL_0 = 0,
    PGMIO_SECURITY_LEVEL_1 = 1,
    PGMIO_SECURITY_LEVEL_2 = 2,
    PGMIO_SECURITY_LEVEL_3 = 3,
};

// Supply voltage written into a serial vector format file.
enum SVFE_PROG_VOLTAGE : uint32_t
{
    SVFE_PROG_VOLTAGE_1_5V = 0,
    SVFE_PROG_VOLTAGE_1_8V = 1,
    SVFE_PROG_VOLTAGE_2_5V = 2,
    SVFE_PROG_VOLTAGE_3_3V = 3,
    SVFE_PROG_VOLTAGE_5_0V = 4,
};
