// SPDX-License-Identifier: Apache-2.0
// Builds the JTAG program of a chain: per addressed device an IDCODE check, then what its payload
// needs (configuration data, keys, or a flash image through the flash loader).
#include "pgm/zeb/platform/pgmconv/pgmio_player_program.h"

#include "pgm/zeb/platform/pgmio/pgmio_enums.h"

#include <algorithm>
#include <map>

namespace
{

// Wait times of the devices, in TCK cycles and in microseconds; a player waits for both.
struct WAIT_TIME
{
    uint32_t cycles;
    uint32_t usec;
};
constexpr WAIT_TIME k_wait_program_entry = {1000, 0}; // configuration memory is cleared
constexpr WAIT_TIME k_wait_startup = {4096, 0};       // device enters user mode
constexpr WAIT_TIME k_wait_key = {1000, 20000};       // one key is stored

// Streams into a device (configuration data, flash loader commands) pass the bits meant for the
// devices nearer TDO first; the device finds its data after a mark: the configuration data's own
// magic, or this byte ahead of each loader command. So configuration data goes in one scan.
constexpr uint8_t k_loader_mark = 0xA5;
constexpr size_t k_key_bytes = 48;        // key register: kind, storage, length, key padded to 48 bytes
constexpr uint32_t k_verify_chunk = 4096; // bytes of flash read back per scan

// Status bits of the CHECK_STATUS register (32 bits) and of a serial flash's status byte.
constexpr uint32_t k_status_config_ok = 0x1; // the configuration data arrived complete and intact
constexpr uint32_t k_status_user_mode = 0x2; // the device runs its configuration
constexpr uint8_t k_flash_busy = 0x01;

PGMIO_BYTES le_bytes(uint64_t value, uint32_t bytes)
{
    PGMIO_BYTES out(bytes);
    for (uint32_t i = 0; i < bytes; ++i)
        out[i] = uint8_t(value >> (8 * i));
    return out;
}

class BUILDER
{
public:
    BUILDER(const PGMIO_PLAYER_CHAIN& chain, PGMIO_JTAG_PROGRAM& program, std::string& error)
        : m_chain(chain), m_steps(program.steps), m_error(error)
    {
    }

    bool device(size_t index)
    {
        const PGMIO_PLAYER_DEVICE& target = m_chain[index];
        m_dev = target.device;
        pad(index);
        comment("Device " + std::to_string(index + 1) + " of the chain: " + m_dev->name + " (" + target.source + ")");
        comment("Check the IDCODE");
        if (!ir("IDCODE"))
            return false;
        dr(le_bytes(0, 4), 32, le_bytes(m_dev->jtag.idcode, 4), le_bytes(0xFFFFFFFF, 4));
        const uint32_t mask = target.operation_mask;
        switch (target.payload)
        {
        case PGMIO_PLAYER_DEVICE::CONFIG:
            return configure(target.config, mask, "configuration data");
        case PGMIO_PLAYER_DEVICE::KEYS:
            return keys(target.keys, mask);
        case PGMIO_PLAYER_DEVICE::FLASH:
            return configure(target.config, PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_VERIFY, "flash loader image") &&
                   flash(target, mask);
        case PGMIO_PLAYER_DEVICE::HELPER:
            return configure(target.config, PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_VERIFY, "helper image") &&
                   mailbox(target.helper_input, target.source);
        case PGMIO_PLAYER_DEVICE::NONE:
            break;
        }
        return true;
    }

private:
    void comment(std::string text)
    {
        PGMIO_JTAG_STEP step;
        step.text = std::move(text);
        m_steps.push_back(std::move(step));
    }
    void wait(WAIT_TIME time)
    {
        PGMIO_JTAG_STEP step;
        step.op = PGMIO_JTAG_OP::WAIT;
        step.cycles = time.cycles;
        step.usec = time.usec;
        m_steps.push_back(std::move(step));
    }
    void pad(size_t index)
    {
        PGMIO_JTAG_STEP step;
        step.op = PGMIO_JTAG_OP::PAD;
        for (size_t i = 0; i < m_chain.size(); ++i)
        {
            if (i == index)
                continue;
            const bool header = i > index; // nearer TDO: shifted first
            step.pad[header ? PGMIO_PAD_HEADER_IR : PGMIO_PAD_TRAILER_IR] += m_chain[i].device->jtag.ir_length;
            step.pad[header ? PGMIO_PAD_HEADER_DR : PGMIO_PAD_TRAILER_DR] += 1;
        }
        m_steps.push_back(std::move(step));
    }
    bool ir(const char* instruction)
    {
        PGMIO_JTAG_STEP step;
        step.op = PGMIO_JTAG_OP::IR;
        step.length = m_dev->jtag.ir_length;
        if (!m_dev->jtag.find_instruction(instruction, step.value))
        {
            m_error = "device " + m_dev->name + " has no JTAG instruction " + instruction;
            return false;
        }
        m_steps.push_back(std::move(step));
        return true;
    }
    void dr(PGMIO_BYTES tdi, uint64_t bits, PGMIO_BYTES tdo = {}, PGMIO_BYTES mask = {})
    {
        PGMIO_JTAG_STEP step;
        step.op = PGMIO_JTAG_OP::DR;
        step.bits = bits;
        step.tdi = std::move(tdi);
        step.tdo = std::move(tdo);
        step.mask = std::move(mask);
        m_steps.push_back(std::move(step));
    }
    bool status(uint32_t expected, uint32_t mask)
    {
        if (!ir("CHECK_STATUS"))
            return false;
        dr(le_bytes(0, 4), 32, le_bytes(expected, 4), le_bytes(mask, 4));
        return true;
    }

    bool configure(const PGMIO_BYTES& data, uint32_t mask, const std::string& what)
    {
        if (mask & PGMIO_PGM_OP_PROGRAM)
        {
            comment("Shift the " + what + " (" + std::to_string(data.size()) + " bytes) under PROGRAM");
            if (!ir("PROGRAM"))
                return false;
            wait(k_wait_program_entry);
            dr(data, data.size() * 8);
            comment("Start the device");
            if (!ir("STARTUP"))
                return false;
            wait(k_wait_startup);
        }
        if (mask & (PGMIO_PGM_OP_VERIFY | PGMIO_PGM_OP_PROGRAM))
        {
            comment("Check that the " + what + " arrived intact and the device runs it");
            return status(k_status_config_ok | k_status_user_mode, k_status_config_ok | k_status_user_mode);
        }
        return true;
    }

    // The running helper image takes a key or fuse file through the mailbox: the mark, the
    // length (u32) and the bytes.
    bool mailbox(const PGMIO_BYTES& input, const std::string& source)
    {
        comment("Hand " + source + " (" + std::to_string(input.size()) + " bytes) to the helper image");
        if (!ir("SDM_MAILBOX"))
            return false;
        PGMIO_BYTES bytes(5 + input.size());
        bytes[0] = k_loader_mark;
        for (int i = 0; i < 4; ++i)
            bytes[1 + i] = uint8_t(input.size() >> (8 * i));
        std::copy(input.begin(), input.end(), bytes.begin() + 5);
        dr(bytes, bytes.size() * 8);
        wait(k_wait_key);
        return true;
    }

    bool keys(const PGMIO_EKP_IMAGE& image, uint32_t mask)
    {
        uint32_t verify_code = 0;
        const bool can_verify = m_dev->jtag.find_instruction("KEY_VERIFY", verify_code);
        for (const PGMIO_EKP_KEY& key : image.keys)
        {
            if (key.key.size() > k_key_bytes)
            {
                m_error = "key '" + key.id + "' is longer than the " + std::to_string(k_key_bytes) +
                          " bytes of the key register";
                return false;
            }
            PGMIO_BYTES record(3 + k_key_bytes);
            record[0] = uint8_t(key.kind);
            record[1] = uint8_t(key.storage);
            record[2] = uint8_t(key.key.size());
            std::copy(key.key.begin(), key.key.end(), record.begin() + 3);
            if (mask & PGMIO_PGM_OP_PROGRAM)
            {
                comment("Program key '" + key.id + "' (" + std::to_string(key.key.size()) + " bytes)");
                if (!ir("KEY_PROGRAM"))
                    return false;
                dr(record, record.size() * 8);
                wait(k_wait_key);
            }
            if (mask & PGMIO_PGM_OP_VERIFY)
            {
                if (!can_verify)
                {
                    comment("The device cannot read key '" + key.id + "' back; not verified");
                    continue;
                }
                comment("Verify key '" + key.id + "'");
                ir("KEY_VERIFY");
                dr(PGMIO_BYTES(record.size()), record.size() * 8, record, PGMIO_BYTES(record.size(), 0xFF));
            }
        }
        return true;
    }

    // ---- Flash through the flash loader: every scan under LOADER_ACCESS carries one command
    // (mark, opcode, address big-endian, data); the scan after a read command returns the data.
    bool flash_command(const char* name, uint8_t& opcode)
    {
        for (const DEV_COMMAND& command : m_flash->commands)
            if (command.name == name)
            {
                opcode = uint8_t(command.code);
                return true;
            }
        m_error = "flash device " + m_flash->name + " has no command " + name;
        return false;
    }
    bool command(const char* name, bool with_address = false, uint64_t address = 0, std::span<const uint8_t> data = {})
    {
        uint8_t opcode = 0;
        if (!flash_command(name, opcode))
            return false;
        const uint32_t address_bytes = with_address ? m_flash->address_bytes : 0;
        PGMIO_BYTES bytes(2 + address_bytes + data.size());
        bytes[0] = k_loader_mark;
        bytes[1] = opcode;
        for (uint32_t i = 0; i < address_bytes; ++i)
            bytes[2 + i] = uint8_t(address >> (8 * (address_bytes - 1 - i)));
        std::copy(data.begin(), data.end(), bytes.begin() + 2 + address_bytes);
        dr(bytes, bytes.size() * 8);
        return true;
    }
    void read_back(std::span<const uint8_t> expected)
    {
        dr(PGMIO_BYTES(expected.size()), expected.size() * 8, PGMIO_BYTES(expected.begin(), expected.end()),
           PGMIO_BYTES(expected.size(), 0xFF));
    }
    bool not_busy()
    {
        if (!command("READ_STATUS"))
            return false;
        dr(PGMIO_BYTES(1), 8, PGMIO_BYTES{0}, PGMIO_BYTES{k_flash_busy});
        return true;
    }
    bool read_and_compare(uint64_t address, std::span<const uint8_t> expected)
    {
        for (uint64_t at = 0; at < expected.size(); at += k_verify_chunk)
        {
            const uint64_t n = std::min<uint64_t>(k_verify_chunk, expected.size() - at);
            if (!command("READ", true, address + at))
                return false;
            read_back(expected.subspan(at, n));
        }
        return true;
    }

    bool flash(const PGMIO_PLAYER_DEVICE& target, uint32_t mask)
    {
        m_flash = target.flash_device;
        if (m_flash->family != DEV_FAMILY_VIVERI)
        {
            m_error =
                "flash device " + m_flash->name + " is not a serial flash; player files program serial flash only";
            return false;
        }
        // The flash content: the option bits and the data blocks.
        std::map<uint64_t, std::span<const uint8_t>> parts;
        if (!target.flash.option_bits.empty())
            parts[target.flash.option_bits_address] = target.flash.option_bits;
        for (const PGMIO_FLASH_BLOCK& block : target.flash.blocks)
            parts[block.address] = block.data;
        if (parts.empty())
        {
            m_error = target.source + " holds no flash data";
            return false;
        }
        // The flash ends up as the raw programming data of the image: from address 0 through the
        // last sector used, 0xFF where nothing is placed.
        const uint64_t sector = m_flash->sector_size;
        const uint64_t first = 0;
        const auto& [last_address, last_data] = *parts.rbegin();
        const uint64_t end = (last_address + last_data.size() + sector - 1) / sector * sector;

        comment("Flash " + m_flash->name + " through the flash loader: check its silicon id");
        if (!ir("LOADER_ACCESS") || !command("READ_ID"))
            return false;
        read_back(le_bytes(m_flash->silicon_id, 3));
        if (mask & PGMIO_PGM_OP_PROGRAM)
        {
            comment("Erase the sectors " + pgmio_hex_number(first) + ".." + pgmio_hex_number(end - 1));
            for (uint64_t at = first; at < end; at += sector)
            {
                if (!command("WRITE_ENABLE") || !command("SECTOR_ERASE", true, at))
                    return false;
                wait({0, m_flash->sector_erase_us});
                if (!not_busy())
                    return false;
            }
        }
        if (mask & PGMIO_PGM_OP_BLANK_CHECK)
        {
            comment("Blank-check the erased sectors");
            if (!read_and_compare(first, PGMIO_BYTES(end - first, 0xFF)))
                return false;
        }
        if (mask & PGMIO_PGM_OP_PROGRAM)
        {
            comment("Program the pages");
            const uint64_t page = m_flash->page_size;
            for (const auto& [address, data] : parts)
                for (uint64_t at = address; at < address + data.size();)
                {
                    const uint64_t n = std::min<uint64_t>(page - at % page, address + data.size() - at);
                    if (!command("WRITE_ENABLE") || !command("PAGE_PROGRAM", true, at, data.subspan(at - address, n)))
                        return false;
                    wait({0, m_flash->page_program_us});
                    if (!not_busy())
                        return false;
                    at += n;
                }
        }
        if (mask & PGMIO_PGM_OP_VERIFY)
        {
            comment("Read the flash back and compare");
            for (const auto& [address, data] : parts)
                if (!read_and_compare(address, data))
                    return false;
        }
        return true;
    }

    const PGMIO_PLAYER_CHAIN& m_chain;
    std::vector<PGMIO_JTAG_STEP>& m_steps;
    std::string& m_error;
    const DEV_DEVICE_RECORD* m_dev = nullptr;
    const DEV_FLASH_RECORD* m_flash = nullptr;
};

std::string operation_text(uint32_t mask)
{
    std::string text;
    for (auto [bit, name] : {std::pair{PGMIO_PGM_OP_PROGRAM, "program"}, std::pair{PGMIO_PGM_OP_VERIFY, "verify"},
                             std::pair{PGMIO_PGM_OP_BLANK_CHECK, "blank-check"}})
        if (mask & bit)
            text += (text.empty() ? "" : ", ") + std::string(name);
    return text.empty() ? "none" : text;
}

} // namespace

bool pgmio_jtag_build(const PGMIO_PLAYER_CHAIN& chain, PGMIO_JTAG_PROGRAM& program, std::string& error)
{
    program = {};
    std::string devices;
    bool any = false;
    for (const PGMIO_PLAYER_DEVICE& device : chain)
    {
        if (!device.device || device.device->jtag.ir_length == 0)
        {
            error = "a device of the chain has no JTAG interface";
            return false;
        }
        devices += (devices.empty() ? "" : " ") + device.device->name;
        any = any || (device.payload != PGMIO_PLAYER_DEVICE::NONE && device.operation_mask != 0);
    }
    if (!any)
    {
        error = "the chain has no device to program or verify";
        return false;
    }
    program.notes = {{"CREATOR", "Corvane"}, {"STAPL_VERSION", "JESD71"}, {"ALG_VERSION", "1"}, {"DEVICE", devices}};
    program.steps.resize(2);
    program.steps[0].op = PGMIO_JTAG_OP::RESET;
    program.steps[1].op = PGMIO_JTAG_OP::IDLE;
    BUILDER builder(chain, program, error);
    for (size_t i = 0; i < chain.size(); ++i)
    {
        const PGMIO_PLAYER_DEVICE& device = chain[i];
        if (device.payload == PGMIO_PLAYER_DEVICE::NONE || device.operation_mask == 0)
            continue;
        program.notes.push_back({"OPERATION", device.device->name + ": " + operation_text(device.operation_mask)});
        if (!builder.device(i))
            return false;
    }
    return true;
}

std::string pgmio_jtag_hex(std::span<const uint8_t> bytes, uint64_t bits)
{
    static const char digits[] = "0123456789ABCDEF";
    const uint64_t count = (bits + 3) / 4;
    std::string text(count, '0');
    for (uint64_t d = 0; d < count; ++d)
    {
        uint8_t nibble = uint8_t(bytes[d / 2] >> (4 * (d % 2))) & 0xF;
        const uint64_t top = bits - 4 * d; // bits left in this digit
        if (top < 4)
            nibble &= uint8_t((1u << top) - 1);
        text[count - 1 - d] = digits[nibble];
    }
    return text;
}

void pgmio_jtag_hex_lines(std::string& out, std::span<const uint8_t> bytes, uint64_t bits, const char* indent)
{
    constexpr size_t k_per_line = 128;
    const std::string hex = pgmio_jtag_hex(bytes, bits);
    for (size_t at = 0; at < hex.size(); at += k_per_line)
    {
        if (at)
            (out += '\n') += indent;
        out.append(hex, at, k_per_line);
    }
}

bool pgmio_player_write_text(const FIO_PATH& path, const std::string& text, std::string& error)
{
    return pgmio_write_file_atomic(path.get_full_path(),
                                   std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), error);
}
