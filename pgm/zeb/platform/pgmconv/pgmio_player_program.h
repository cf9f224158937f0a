// SPDX-License-Identifier: Apache-2.0
// The program that every player file form carries, as a flat list of JTAG steps, and the helpers
// the three writers share. Private to the player writers.
#pragma once

#include "pgm/zeb/platform/pgmconv/pgmio_player.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

enum class PGMIO_JTAG_OP : uint8_t
{
    COMMENT = 1, // text naming the next steps
    RESET = 2,   // Test-Logic-Reset
    IDLE = 3,    // Run-Test/Idle
    PAD = 4,     // padding for the devices around the addressed one (BYPASS)
    IR = 5,      // instruction scan into the addressed device
    DR = 6,      // data scan through the addressed device, optionally checked
    WAIT = 7,    // stay in Run-Test/Idle
};

// Scan data are bit vectors: bit i is bit (i % 8) of byte i / 8, and bit 0 is shifted first.
struct PGMIO_JTAG_STEP
{
    PGMIO_JTAG_OP op = PGMIO_JTAG_OP::COMMENT;
    std::string text;     // COMMENT
    uint32_t length = 0;  // IR: instruction length in bits
    uint32_t value = 0;   // IR: instruction code
    uint32_t pad[4] = {}; // PAD: header IR bits, trailer IR bits, header DR bits, trailer DR bits
    uint64_t bits = 0;    // DR: scan length
    PGMIO_BYTES tdi;      // DR: (bits + 7) / 8 bytes
    PGMIO_BYTES tdo;      // DR: expected output; empty when the scan is not checked
    PGMIO_BYTES mask;     // DR: bits of tdo that are checked; as long as tdo
    uint32_t cycles = 0;  // WAIT: TCK cycles at least
    uint32_t usec = 0;    // WAIT: microseconds at least
};

// The header is shifted first and so holds the devices nearest TDO; the trailer those nearest TDI.
enum PGMIO_JTAG_PAD_INDEX
{
    PGMIO_PAD_HEADER_IR = 0,
    PGMIO_PAD_TRAILER_IR = 1,
    PGMIO_PAD_HEADER_DR = 2,
    PGMIO_PAD_TRAILER_DR = 3,
};

struct PGMIO_JTAG_PROGRAM
{
    std::vector<std::pair<std::string, std::string>> notes; // key, value
    std::vector<PGMIO_JTAG_STEP> steps;
};

// The program for a chain. False with the reason in `error` (a device without a needed
// instruction, a flash the player cannot drive, nothing to do).
bool pgmio_jtag_build(const PGMIO_PLAYER_CHAIN& chain, PGMIO_JTAG_PROGRAM& program, std::string& error);

// The bits of a scan as hexadecimal digits, most significant first (bit 0 is the last digit's
// lowest bit), as SVF and STAPL "$" literals write them.
std::string pgmio_jtag_hex(std::span<const uint8_t> bytes, uint64_t bits);
// The same digits appended to `out`, split over lines of 128 digits, each continuation line
// starting with `indent`: long SVF values and STAPL arrays stay readable by line-based tools.
void pgmio_jtag_hex_lines(std::string& out, std::span<const uint8_t> bytes, uint64_t bits, const char* indent);

// Compression of scan data: a little-endian u32 length, then tokens: a control byte c below 0x80
// is followed by c + 1 literal bytes; c from 0x80 copies (c & 0x7F) + 3 bytes from a u16
// little-endian distance back (1..65535).
PGMIO_BYTES pgmio_player_compress(std::span<const uint8_t> data);
// False with the reason in `error` when the stream is malformed or not exactly used up.
bool pgmio_player_decompress(std::span<const uint8_t> stream, PGMIO_BYTES& data, std::string& error);

// Writes text atomically. False with the reason in `error`.
bool pgmio_player_write_text(const FIO_PATH& path, const std::string& text, std::string& error);

// The STAPL text (.jam) of a program.
std::string pgmio_stapl_text(const PGMIO_JTAG_PROGRAM& program);
// The byte-code image (.jbc) of a program, and back. Decoding is false with the reason in `error`.
PGMIO_BYTES pgmio_jbc_encode(const PGMIO_JTAG_PROGRAM& program);
bool pgmio_jbc_decode(std::span<const uint8_t> image, PGMIO_JTAG_PROGRAM& program, std::string& error);
