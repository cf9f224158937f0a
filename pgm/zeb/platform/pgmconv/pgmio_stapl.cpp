// SPDX-License-Identifier: Apache-2.0
// STAPL text writer (.jam): notes, one action, the scan data of more than 32 bits as BOOLEAN arrays
// initialised in hexadecimal in a DATA block, one procedure with the scans, and the file's CRC.
// Hexadecimal is the array form every STAPL player reads; the byte-code form (.jbc) is the compact one.
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"

#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

#include <array>
#include <cstdio>

namespace
{

constexpr uint64_t k_inline_bits = 32; // longer scan values go into the DATA block

// CRC-16 (polynomial 0x1021, initial value 0xFFFF, not reflected) of the text before the CRC statement,
// a byte at a time through a table: a .jam of a large device is tens of megabytes.
uint16_t crc16(const std::string& text)
{
    static const auto table = []
    {
        std::array<uint16_t, 256> t{};
        for (unsigned byte = 0; byte < 256; ++byte)
        {
            uint16_t crc = uint16_t(byte << 8);
            for (int i = 0; i < 8; ++i)
                crc = uint16_t(crc & 0x8000 ? (crc << 1) ^ 0x1021 : crc << 1);
            t[byte] = crc;
        }
        return t;
    }();
    uint16_t crc = 0xFFFF;
    for (char c : text)
        crc = uint16_t(crc << 8) ^ table[(crc >> 8) ^ uint8_t(c)];
    return crc;
}

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (char c : text)
        out += c == '"' ? '\'' : c;
    return out + "\"";
}

class WRITER
{
public:
    std::string data;      // the DATA block's declarations
    std::string procedure; // the procedure's statements

    // A scan value: inline hexadecimal, or a new array of the DATA block.
    std::string value(std::span<const uint8_t> bytes, uint64_t bits)
    {
        if (bits <= k_inline_bits)
            return "$" + pgmio_jtag_hex(bytes, bits);
        const std::string name = "D" + std::to_string(++m_arrays);
        data += "    BOOLEAN " + name + "[" + std::to_string(bits) + "] = $";
        pgmio_jtag_hex_lines(data, bytes, bits, "        ");
        data += ";\n";
        return name;
    }

    void step(const PGMIO_JTAG_STEP& step)
    {
        switch (step.op)
        {
        case PGMIO_JTAG_OP::COMMENT:
            procedure += "    ' " + step.text + "\n";
            break;
        case PGMIO_JTAG_OP::RESET:
            procedure += "    STATE RESET;\n";
            break;
        case PGMIO_JTAG_OP::IDLE:
            procedure += "    STATE IDLE;\n";
            break;
        case PGMIO_JTAG_OP::PAD:
            // Padding shifted before the addressed device's bits (PRE) is the header of the chain.
            procedure += "    PREIR " + std::to_string(step.pad[PGMIO_PAD_HEADER_IR]) + ";\n    POSTIR " +
                         std::to_string(step.pad[PGMIO_PAD_TRAILER_IR]) + ";\n    PREDR " +
                         std::to_string(step.pad[PGMIO_PAD_HEADER_DR]) + ";\n    POSTDR " +
                         std::to_string(step.pad[PGMIO_PAD_TRAILER_DR]) + ";\n";
            break;
        case PGMIO_JTAG_OP::IR:
        {
            const uint8_t code[4] = {uint8_t(step.value), uint8_t(step.value >> 8), uint8_t(step.value >> 16),
                                     uint8_t(step.value >> 24)};
            procedure +=
                "    IRSCAN " + std::to_string(step.length) + ", $" + pgmio_jtag_hex(code, step.length) + ";\n";
            break;
        }
        case PGMIO_JTAG_OP::DR:
            procedure += "    DRSCAN " + std::to_string(step.bits) + ", " + value(step.tdi, step.bits);
            if (step.tdo.empty())
                procedure += ";\n";
            else
                procedure += ", COMPARE " + value(step.tdo, step.bits) + ", " + value(step.mask, step.bits) +
                             ", OK;\n    IF !OK THEN EXIT 1;\n";
            break;
        case PGMIO_JTAG_OP::WAIT:
            procedure += "    WAIT IDLE, " + std::to_string(step.cycles) + " CYCLES, " + std::to_string(step.usec) +
                         " USEC, IDLE;\n";
            break;
        }
    }

private:
    uint32_t m_arrays = 0;
};

} // namespace

std::string pgmio_stapl_text(const PGMIO_JTAG_PROGRAM& program)
{
    WRITER writer;
    for (const PGMIO_JTAG_STEP& step : program.steps)
        writer.step(step);
    std::string text = "' STAPL file written by Corvane\n";
    for (const auto& [key, value] : program.notes)
        text += "NOTE " + quoted(key) + " " + quoted(value) + ";\n";
    text += "ACTION RUN = DO_RUN;\n";
    // Appended piece by piece: the DATA block can be tens of megabytes.
    ((text += "DATA CHAIN_DATA;\n") += writer.data) += "ENDDATA;\n";
    writer.data = {};
    ((text += "PROCEDURE DO_RUN USES CHAIN_DATA;\n    BOOLEAN OK;\n") += writer.procedure) += "    EXIT 0;\nENDPROC;\n";
    char crc[32];
    std::snprintf(crc, sizeof crc, "CRC %04X;\n", crc16(text));
    return text += crc;
}

bool PGMIO_CMD_LN_INTERFACE::create_output_file(const PGMIO_PLAYER_CHAIN& chain, const FIO_PATH& path,
                                                std::string& error)
{
    const FIO_EXTENSION_TYPE type = path.get_extension_type();
    if (type != FIO_EXTENSION_TYPE_JAM && type != FIO_EXTENSION_TYPE_JBC)
    {
        error = path.get_full_path() + ": a STAPL file needs the extension .jam or .jbc";
        return false;
    }
    PGMIO_JTAG_PROGRAM program;
    if (!pgmio_jtag_build(chain, program, error))
        return false;
    if (type == FIO_EXTENSION_TYPE_JAM)
        return pgmio_player_write_text(path, pgmio_stapl_text(program), error);
    return pgmio_write_file_atomic(path.get_full_path(), pgmio_jbc_encode(program), error);
}

bool PGMIO_CMD_LN_INTERFACE::jbc_to_text(std::span<const uint8_t> image, std::string& text, std::string& error)
{
    PGMIO_JTAG_PROGRAM program;
    if (!pgmio_jbc_decode(image, program, error))
        return false;
    text = pgmio_stapl_text(program);
    return true;
}
