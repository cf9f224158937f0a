// SPDX-License-Identifier: Apache-2.0
// STAPL byte-code (.jbc): the program's steps as op codes with little-endian operands, scan data
// compressed, and a CRC-32 over everything (docs/formats.md, "STAPL byte-code").
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"

#include "pgm/zeb/platform/pgmio/pgmio_container.h"

namespace
{

constexpr uint8_t k_magic[4] = {'C', 'V', 'J', 'B'};
constexpr uint16_t k_version = 1;
constexpr uint32_t k_max_steps = 1u << 28;

void put_block(PGMIO_BYTE_WRITER& out, std::span<const uint8_t> data)
{
    const PGMIO_BYTES stream = pgmio_player_compress(data);
    out.u32(uint32_t(stream.size()));
    out.bytes(stream);
}

bool get_block(PGMIO_BYTE_READER& in, uint64_t bits, PGMIO_BYTES& data, std::string& error)
{
    const uint32_t size = in.u32();
    const std::span<const uint8_t> stream = in.bytes(size);
    if (!in.ok())
        return false;
    if (!pgmio_player_decompress(stream, data, error))
        return false;
    if (data.size() != (bits + 7) / 8)
    {
        error =
            "scan data of " + std::to_string(data.size()) + " bytes for a scan of " + std::to_string(bits) + " bits";
        return false;
    }
    return true;
}

} // namespace

PGMIO_BYTES pgmio_jbc_encode(const PGMIO_JTAG_PROGRAM& program)
{
    PGMIO_BYTE_WRITER out;
    out.bytes(k_magic);
    out.u16(k_version);
    out.u16(0);
    out.u32(uint32_t(program.notes.size()));
    for (const auto& [key, value] : program.notes)
    {
        out.str(key);
        out.str(value);
    }
    out.u32(uint32_t(program.steps.size()));
    for (const PGMIO_JTAG_STEP& step : program.steps)
    {
        out.u8(uint8_t(step.op));
        switch (step.op)
        {
        case PGMIO_JTAG_OP::COMMENT:
            out.str(step.text);
            break;
        case PGMIO_JTAG_OP::RESET:
        case PGMIO_JTAG_OP::IDLE:
            break;
        case PGMIO_JTAG_OP::PAD:
            for (uint32_t bits : step.pad)
                out.u32(bits);
            break;
        case PGMIO_JTAG_OP::IR:
            out.u8(uint8_t(step.length));
            out.u32(step.value);
            break;
        case PGMIO_JTAG_OP::DR:
            out.u64(step.bits);
            out.u8(step.tdo.empty() ? 0 : 1);
            put_block(out, step.tdi);
            if (!step.tdo.empty())
            {
                put_block(out, step.tdo);
                put_block(out, step.mask);
            }
            break;
        case PGMIO_JTAG_OP::WAIT:
            out.u32(step.cycles);
            out.u32(step.usec);
            break;
        }
    }
    out.u32(pgmio_crc32(out.data()));
    return std::move(out.data());
}

bool pgmio_jbc_decode(std::span<const uint8_t> image, PGMIO_JTAG_PROGRAM& program, std::string& error)
{
    program = {};
    if (image.size() < 16 || !std::equal(std::begin(k_magic), std::end(k_magic), image.begin()))
    {
        error = "not a STAPL byte-code file (no CVJB signature)";
        return false;
    }
    const std::span<const uint8_t> body = image.first(image.size() - 4);
    PGMIO_BYTE_READER trailer(image.last(4), "CRC");
    if (trailer.u32() != pgmio_crc32(body))
    {
        error = "STAPL byte-code file: the CRC does not match (damaged file)";
        return false;
    }
    PGMIO_BYTE_READER in(body.subspan(4), "byte-code");
    if (in.u16() != k_version || in.u16() != 0)
    {
        error = "STAPL byte-code file: unsupported version";
        return false;
    }
    const uint32_t notes = in.u32();
    for (uint32_t i = 0; i < notes && in.ok(); ++i)
    {
        std::string key = in.str();
        program.notes.emplace_back(std::move(key), in.str());
    }
    const uint32_t steps = in.u32();
    if (steps > k_max_steps || steps > in.remaining())
        in.fail("step count larger than the file");
    for (uint32_t i = 0; i < steps && in.ok(); ++i)
    {
        PGMIO_JTAG_STEP step;
        step.op = PGMIO_JTAG_OP(in.u8());
        switch (step.op)
        {
        case PGMIO_JTAG_OP::COMMENT:
            step.text = in.str();
            break;
        case PGMIO_JTAG_OP::RESET:
        case PGMIO_JTAG_OP::IDLE:
            break;
        case PGMIO_JTAG_OP::PAD:
            for (uint32_t& bits : step.pad)
                bits = in.u32();
            break;
        case PGMIO_JTAG_OP::IR:
            step.length = in.u8();
            step.value = in.u32();
            if (step.length == 0 || step.length > 32)
                in.fail("instruction length outside 1..32");
            break;
        case PGMIO_JTAG_OP::DR:
        {
            step.bits = in.u64();
            const uint8_t checked = in.u8();
            if (step.bits == 0 || step.bits > (in.remaining() + 1) * 8 * 130 || checked > 1)
                in.fail("bad scan length or check flag");
            if (in.ok() && (!get_block(in, step.bits, step.tdi, error) ||
                            (checked && (!get_block(in, step.bits, step.tdo, error) ||
                                         !get_block(in, step.bits, step.mask, error)))))
            {
                if (!in.ok())
                    break;
                error = "STAPL byte-code file, step " + std::to_string(i) + ": " + error;
                return false;
            }
            break;
        }
        case PGMIO_JTAG_OP::WAIT:
            step.cycles = in.u32();
            step.usec = in.u32();
            break;
        default:
            in.fail("unknown op code " + std::to_string(unsigned(step.op)));
        }
        program.steps.push_back(std::move(step));
    }
    if (!in.finish(error))
    {
        error = "STAPL byte-code file: " + error;
        return false;
    }
    return true;
}
