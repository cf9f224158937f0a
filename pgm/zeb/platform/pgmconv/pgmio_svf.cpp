// SPDX-License-Identifier: Apache-2.0
// Serial vector format writer, and the frequency, voltage and operation conversions around it.
// Written for the players people use: every TDO carries its own MASK (a player may forget an
// earlier mask after a scan without TDO), scans end in IDLE so that each goes through Update and
// Capture on its own, waits are TCK cycles in IDLE, and the file ends with a newline.
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"

#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

#include <cctype>
#include <cstdio>

namespace
{

constexpr long k_max_frequency = 1000000000; // 1 GHz

struct UNIT
{
    const char* name; // upper case, as compared
    const char* display;
    long factor;
};
constexpr UNIT k_units[] = {{"MHZ", "MHz", 1000000}, {"KHZ", "KHz", 1000}, {"HZ", "Hz", 1}};

constexpr const char* k_voltages[] = {"1.5V", "1.8V", "2.5V", "3.3V", "5.0V"}; // by SVFE_PROG_VOLTAGE

// A scan value, split over lines.
void append_value(std::string& out, const char* name, std::span<const uint8_t> bytes, uint64_t bits)
{
    out += ' ';
    out += name;
    out += '(';
    pgmio_jtag_hex_lines(out, bytes, bits, "    ");
    out += ')';
}

void append_padding(std::string& out, const char* name, uint32_t bits, bool ones)
{
    out += name;
    out += ' ' + std::to_string(bits);
    if (bits)
    {
        const PGMIO_BYTES fill((bits + 7) / 8, ones ? 0xFF : 0x00);
        append_value(out, "TDI", fill, bits);
    }
    out += ";\n";
}

} // namespace

PGMIO_SVF::PGMIO_SVF(int operation, bool flag_a, long frequency, int voltage, bool flag_b)
    : m_operation(operation), m_flag_a(flag_a), m_frequency(frequency), m_voltage(voltage), m_flag_b(flag_b)
{
}

std::string PGMIO_SVF::convert_uint_to_frequency_string(long frequency)
{
    for (const UNIT& unit : k_units)
        if (frequency != 0 && frequency % unit.factor == 0)
            return std::to_string(frequency / unit.factor) + unit.display;
    return std::to_string(frequency) + "Hz";
}

bool PGMIO_SVF::convert_frequency_string_to_uint(const std::string& text, long& frequency, std::string& error)
{
    error = "frequency '" + text + "' is not a number with an optional unit Hz, KHz or MHz (e.g. 100KHz, 6MHz)";
    size_t at = 0;
    long whole = 0;
    std::string fraction;
    while (at < text.size() && std::isdigit(uint8_t(text[at])))
    {
        if (whole > k_max_frequency)
            break;
        whole = whole * 10 + (text[at++] - '0');
    }
    if (at == 0)
        return false;
    if (at < text.size() && text[at] == '.')
    {
        ++at;
        while (at < text.size() && std::isdigit(uint8_t(text[at])))
            fraction += text[at++];
        if (fraction.empty())
            return false;
    }
    std::string unit;
    for (; at < text.size(); ++at)
        unit += char(std::toupper(uint8_t(text[at])));
    long factor = unit.empty() ? 1 : 0;
    for (const UNIT& candidate : k_units)
        if (unit == candidate.name)
            factor = candidate.factor;
    if (factor == 0)
        return false;
    // The fraction must come out as whole hertz: "1.5MHz" is fine, "1.5Hz" is not.
    long scale = factor;
    long fraction_hz = 0;
    for (char digit : fraction)
    {
        if (scale % 10 != 0 && digit != '0')
        {
            error = "frequency '" + text + "' is not a whole number of hertz";
            return false;
        }
        scale = scale % 10 == 0 ? scale / 10 : scale;
        fraction_hz += (digit - '0') * scale;
    }
    if (whole > k_max_frequency / factor || whole * factor + fraction_hz > k_max_frequency ||
        whole * factor + fraction_hz == 0)
    {
        error = "frequency '" + text + "' is outside the range 1Hz..1000MHz";
        return false;
    }
    frequency = whole * factor + fraction_hz;
    error.clear();
    return true;
}

long PGMIO_SVF::convert_frequency_string_to_uint(const std::string& text)
{
    long frequency = 0;
    std::string error;
    if (!convert_frequency_string_to_uint(text, frequency, error))
        MSG_INTERNAL_ERROR_AT(error.c_str(), "PGMIO", "pgmio_svf");
    return frequency;
}

uint32_t PGMIO_SVF::convert_svfe_op_to_pgm_op_mask(SVFE_OPERATION operation, bool flag_a)
{
    if (operation == SVFE_OPERATION_VERIFY)
        return PGMIO_PGM_OP_VERIFY;
    return PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_VERIFY | (flag_a ? PGMIO_PGM_OP_BLANK_CHECK : 0u);
}

std::string PGMIO_SVF::voltage_text(int voltage)
{
    return voltage >= 0 && voltage < int(std::size(k_voltages)) ? k_voltages[voltage] : "";
}

bool PGMIO_SVF::create_output_file(const PGMIO_PLAYER_CHAIN& chain, const std::string& frequency, const FIO_PATH& path)
{
    // The frequency text wins; without one the constructor's frequency is used.
    const std::string frequency_text = frequency.empty() ? convert_uint_to_frequency_string(m_frequency) : frequency;
    long hz = 0;
    if (!convert_frequency_string_to_uint(frequency_text, hz, m_error))
        return false;
    if (voltage_text(m_voltage).empty())
    {
        m_error = "unknown supply voltage " + std::to_string(m_voltage);
        return false;
    }
    PGMIO_JTAG_PROGRAM program;
    if (!pgmio_jtag_build(chain, program, m_error))
        return false;

    std::string out;
    out.reserve(4096);
    out += "! Serial vector format file written by Corvane\n";
    for (const auto& [key, value] : program.notes)
        out += "! " + key + ": " + value + "\n";
    out += "! Supply voltage: " + voltage_text(m_voltage) + "\n";
    out += std::string("! Operation: ") + (m_operation == SVFE_OPERATION_VERIFY ? "verify" : "program") +
           (m_flag_a ? " with blank-check" : "") + "\n";
    if (m_flag_b)
        out += "! Option B is set\n";
    char line[64];
    std::snprintf(line, sizeof line, "FREQUENCY %.6E HZ;\n", double(hz));
    out += line;
    out += "TRST OFF;\nENDIR IDLE;\nENDDR IDLE;\n";
    for (const PGMIO_JTAG_STEP& step : program.steps)
    {
        switch (step.op)
        {
        case PGMIO_JTAG_OP::COMMENT:
            out += "! " + step.text + "\n";
            break;
        case PGMIO_JTAG_OP::RESET:
            out += "STATE RESET;\n";
            break;
        case PGMIO_JTAG_OP::IDLE:
            out += "STATE IDLE;\n";
            break;
        case PGMIO_JTAG_OP::PAD:
            append_padding(out, "HIR", step.pad[PGMIO_PAD_HEADER_IR], true);
            append_padding(out, "TIR", step.pad[PGMIO_PAD_TRAILER_IR], true);
            append_padding(out, "HDR", step.pad[PGMIO_PAD_HEADER_DR], false);
            append_padding(out, "TDR", step.pad[PGMIO_PAD_TRAILER_DR], false);
            break;
        case PGMIO_JTAG_OP::IR:
        {
            const PGMIO_BYTES code = {uint8_t(step.value), uint8_t(step.value >> 8), uint8_t(step.value >> 16),
                                      uint8_t(step.value >> 24)};
            out += "SIR " + std::to_string(step.length);
            append_value(out, "TDI", code, step.length);
            out += ";\n";
            break;
        }
        case PGMIO_JTAG_OP::DR:
            out.reserve(out.size() + step.tdi.size() * 2 * (step.tdo.empty() ? 1 : 3) + 64);
            out += "SDR " + std::to_string(step.bits);
            append_value(out, "TDI", step.tdi, step.bits);
            if (!step.tdo.empty())
            {
                append_value(out, "TDO", step.tdo, step.bits);
                append_value(out, "MASK", step.mask, step.bits);
            }
            out += ";\n";
            break;
        case PGMIO_JTAG_OP::WAIT:
        {
            // A time becomes cycles at the file's TCK frequency, rounded up.
            const uint64_t from_time = (uint64_t(step.usec) * uint64_t(hz) + 999999) / 1000000;
            out += "RUNTEST " + std::to_string(std::max<uint64_t>(step.cycles, from_time)) + " TCK;\n";
            break;
        }
        }
    }
    return pgmio_player_write_text(path, out, m_error);
}
