// SPDX-License-Identifier: Apache-2.0
// Player files: programs that a JTAG player (a test system, a microcontroller, a board tester)
// runs against a chain of devices. Three forms of one program: serial vector format (.svf), STAPL
// text (.jam) and our STAPL byte-code (.jbc), described in docs/formats.md.
//
// A chain is given either as chain elements of a conversion setup or as a chain description file.
// Every device that the chain does not address stays in BYPASS. Functions that can fail return
// false with the reason in get_error() (or `error`) and leave no output file behind.
#pragma once

#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <cstdint>
#include <string>
#include <vector>

class PGM_CHAIN_ELEMENT;

// What a serial vector format file does with the addressed devices.
enum SVFE_OPERATION : int
{
    SVFE_OPERATION_PROGRAM_VERIFY = 0, // program, then verify (the operation mask decides)
    SVFE_OPERATION_VERIFY = 3,         // verify only
};

// One device of a chain as the player writers see it: its catalogue record, what it receives and
// which operations the player file performs on it.
struct PGMIO_PLAYER_DEVICE
{
    enum PAYLOAD
    {
        NONE,   // the device stays in BYPASS
        CONFIG, // configuration data into the device's SRAM
        FLASH,  // a flash image through the device's flash loader
        KEYS,   // design-security keys
        HELPER, // a key or fuse file through the device's programming helper image
    };
    const DEV_DEVICE_RECORD* device = nullptr;
    PAYLOAD payload = NONE;
    uint32_t operation_mask = 0; // PGMIO_PGM_OP_* bits
    std::string source;          // file name of the programming file, for comments
    PGMIO_BYTES config;          // CONFIG: the .rbf bytes; FLASH: the flash loader's image; HELPER: the helper's
    PGMIO_BYTES helper_input;    // HELPER: the bytes of the key or fuse file
    PGMIO_FLASH_IMAGE flash;     // FLASH
    const DEV_FLASH_RECORD* flash_device = nullptr; // FLASH
    PGMIO_EKP_IMAGE keys;                           // KEYS
};

using PGMIO_PLAYER_CHAIN = std::vector<PGMIO_PLAYER_DEVICE>; // from TDI to TDO

// Fills a player device from a programming file (.sof, .rbf, .jic, .ekp, or a key or fuse file
// .hky, .hek, .fuse that the device's helper image takes) for `device_name` ("" to take the device
// from the file). False with the reason in `error` when the file is missing,
// damaged, for another device, or the device has no JTAG interface.
bool pgmio_player_load_device(const std::string& device_name, const FIO_PATH& file, uint32_t operation_mask,
                              PGMIO_PLAYER_DEVICE& device, std::string& error);
// Builds a chain from a chain description file: its actions become the operation masks. False with
// "<file>:<line>: <reason>" or "<file>: <reason>" in `error`.
bool pgmio_player_read_cdf(const FIO_PATH& path, PGMIO_PLAYER_CHAIN& chain, std::string& error);
// Builds a chain from chain elements: elements with PGM_CHAIN_ELEMENT_PROCESS or an operation mask
// and a programming file receive it with their operation mask (program and verify when it is 0); the others stay in
// BYPASS.
bool pgmio_player_from_elements(const std::vector<PGM_CHAIN_ELEMENT*>& elements, PGMIO_PLAYER_CHAIN& chain,
                                std::string& error);

// Serial vector format writer.
class PGMIO_SVF
{
public:
    // `operation` (SVFE_OPERATION), flag A (blank-check before programming), TCK frequency in Hz,
    // voltage (SVFE_PROG_VOLTAGE) and flag B (reserved, written as a comment).
    PGMIO_SVF(int operation, bool flag_a, long frequency, int voltage, bool flag_b);

    // Writes the chain's program. False with the reason in get_error().
    bool create_output_file(std::vector<PGM_CHAIN_ELEMENT*>* chain, const std::string& frequency, const FIO_PATH& path);
    bool create_output_file(const PGMIO_PLAYER_CHAIN& chain, const std::string& frequency, const FIO_PATH& path);
    const std::string& get_error() const { return m_error; }

    // "10MHz", "100KHz", "25000000Hz" style text of a frequency in Hz: the largest unit that
    // divides it exactly.
    static std::string convert_uint_to_frequency_string(long frequency);
    // Reads "6MHz", "100KHz", "1.5MHz", "25000000" or "25000000Hz" (units in any case) into Hz.
    // False with the reason in `error` for anything else, for 0 and for more than 1 GHz.
    static bool convert_frequency_string_to_uint(const std::string& text, long& frequency, std::string& error);
    // As above; an unreadable text is an internal error.
    static long convert_frequency_string_to_uint(const std::string& text);
    // The programmer's operation mask (PGMIO_PGM_OP_*) for an SVF operation; flag A adds the blank-check.
    static uint32_t convert_svfe_op_to_pgm_op_mask(SVFE_OPERATION operation, bool flag_a);
    // The supply voltage as text ("3.3V"); "" for an unknown value.
    static std::string voltage_text(int voltage);

private:
    int m_operation;
    bool m_flag_a;
    long m_frequency;
    int m_voltage;
    bool m_flag_b;
    std::string m_error;
};

// STAPL writer: text (.jam) or byte-code (.jbc) by the output file's extension.
class PGMIO_CMD_LN_INTERFACE
{
public:
    // Writes the chain's program. False with the reason in get_last_error() (of the calling thread).
    static bool create_output_file(std::vector<PGM_CHAIN_ELEMENT*>* chain, const FIO_PATH& path);
    static const std::string& get_last_error();
    // False with the reason in `error`.
    static bool create_output_file(const PGMIO_PLAYER_CHAIN& chain, const FIO_PATH& path, std::string& error);
    // The STAPL text equivalent of a byte-code image. False with the reason in `error`.
    static bool jbc_to_text(std::span<const uint8_t> image, std::string& text, std::string& error);
};
