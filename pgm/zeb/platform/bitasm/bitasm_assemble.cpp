// SPDX-License-Identifier: Apache-2.0
// Assembling configuration data, SRAM object files and helper images for catalogue devices.
#include "pgm/zeb/platform/bitasm/bitasm.h"

#include <algorithm>
#include <cstring>

namespace
{

// Largest payload assembled in one piece; the device catalogue's sizes are far below it.
constexpr uint64_t k_max_payload = uint64_t(1) << 30;

// A splitmix64 stream: fast, and the same seed gives the same numbers on every platform.
class SPLITMIX
{
public:
    explicit SPLITMIX(uint64_t seed) : m_state(seed) {}
    uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15ull;
        uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

private:
    uint64_t m_state;
};

// Configuration frames as a real design leaves them: a frame of unused resources is all zero; a
// used frame sets about one bit in sixty-four (routing and LUT bits are sparse); two in five used
// frames repeat an earlier one, as replicated logic does.
constexpr size_t k_frame_size = 128;

void fill_synthetic(PGMIO_BYTES& bytes, uint64_t seed, uint32_t utilization)
{
    SPLITMIX random(seed);
    std::vector<size_t> used;
    for (size_t start = 0; start < bytes.size(); start += k_frame_size)
    {
        const size_t count = std::min(k_frame_size, bytes.size() - start);
        uint8_t* frame = bytes.data() + start;
        if (random.next() % 100 >= utilization)
            continue;
        if (!used.empty() && random.next() % 5 < 2)
        {
            const size_t from = used[random.next() % used.size()];
            std::memcpy(frame, bytes.data() + from, std::min(count, bytes.size() - from));
            continue;
        }
        for (size_t i = 0; i < count; i += 8)
        {
            const uint64_t a = random.next();
            const uint64_t b = random.next();
            const uint64_t c = random.next();
            const uint64_t d = random.next() & random.next() & random.next();
            const uint64_t word = a & b & c & d; // each bit set with probability 1/64
            for (size_t k = 0; k < 8 && i + k < count; ++k)
                frame[i + k] = uint8_t(word >> (8 * k));
        }
        used.push_back(start);
    }
}

bool check_capabilities(const PGM_DEVICE& device, uint32_t flags, std::string& error)
{
    const DEV_CAPABILITIES& capabilities = device.get_fpga_record()->capabilities;
    if (flags & ~PGMIO_DESIGN_ALL)
    {
        error = "unknown design flags " + pgmio_hex_number(flags & ~PGMIO_DESIGN_ALL);
        return false;
    }
    const char* missing = nullptr;
    if ((flags & PGMIO_DESIGN_CVP) && !capabilities.cvp)
        missing = "CvP (configuration via PCI Express)";
    else if ((flags & PGMIO_DESIGN_HPS) && !capabilities.hps)
        missing = "an HPS (hard processor system)";
    else if ((flags & PGMIO_DESIGN_PR) && !capabilities.partial_reconfiguration)
        missing = "partial reconfiguration";
    if (missing)
    {
        error = "device '" + device.get_name() + "' does not support " + missing;
        return false;
    }
    return true;
}

} // namespace

bool BITASM_MGR::assemble_configuration_data(const PGM_DEVICE& device, const BITASM_OPTIONS& options,
                                             PGMIO_CONFIG_DATA& data, std::string& error)
{
    data = PGMIO_CONFIG_DATA{};
    const DEV_DEVICE_RECORD* record = device.get_fpga_record();
    if (!record)
    {
        error = "'" + device.get_name() + "' is a flash device; configuration data is made for FPGAs";
        return false;
    }
    if (!check_capabilities(device, options.flags, error))
        return false;
    const uint64_t capacity = record->config_data_size;
    uint64_t size = options.size != 0 ? options.size : capacity;
    if (options.raw_data)
    {
        if (options.size != 0 && options.size != options.raw_data->size())
        {
            error = "a size of " + std::to_string(options.size) + " bytes was asked for, the raw data has " +
                    std::to_string(options.raw_data->size());
            return false;
        }
        size = options.raw_data->size();
    }
    if (size < BITASM_MIN_CONFIG_SIZE)
    {
        error = "configuration data of " + std::to_string(size) + " bytes is too small, at least " +
                std::to_string(BITASM_MIN_CONFIG_SIZE) + " are needed";
        return false;
    }
    const uint64_t limit = capacity != 0 ? std::min(capacity, k_max_payload) : k_max_payload;
    if (size > limit)
    {
        error = "configuration data of " + std::to_string(size) + " bytes is too large, device '" + device.get_name() +
                "' takes at most " + std::to_string(limit);
        return false;
    }
    if (options.utilization > 100)
    {
        error = "a utilization of " + std::to_string(options.utilization) + " percent is asked for; it is 0 to 100";
        return false;
    }
    PGMIO_BYTES payload;
    if (options.raw_data)
        payload = *options.raw_data;
    else
    {
        payload.resize(size_t(size));
        fill_synthetic(payload, options.seed ^ (uint64_t(record->jtag.idcode) << 32), options.utilization);
    }

    // Sizes of the sections; the core takes what is left.
    const uint64_t firmware = record->has_cmf_flash_block_layout ? size / 16 : 0;
    const uint64_t periphery = (options.flags & PGMIO_DESIGN_CVP) ? size / 8 : 0;
    const uint64_t hps = (options.flags & PGMIO_DESIGN_HPS) ? size / 16 : 0;
    const uint64_t core = size - firmware - periphery - hps;
    const std::pair<uint32_t, uint64_t> cuts[] = {{PGMIO_SECTION_FIRMWARE, firmware},
                                                  {PGMIO_SECTION_PERIPHERY, periphery},
                                                  {PGMIO_SECTION_CORE, core},
                                                  {PGMIO_SECTION_HPS, hps}};
    data.idcode = record->jtag.idcode;
    data.flags = options.flags;
    uint64_t position = 0;
    for (const auto& [tag, length] : cuts)
    {
        if (length == 0)
            continue;
        data.sections.push_back(
            {tag, PGMIO_BYTES(payload.begin() + long(position), payload.begin() + long(position + length))});
        position += length;
    }
    return PGMIO_RBF::validate(data, error);
}

bool BITASM_MGR::assemble_sof(const PGM_DEVICE& device, const BITASM_OPTIONS& options, PGMIO_SOF_IMAGE& sof,
                              std::string& error)
{
    sof = PGMIO_SOF_IMAGE{};
    if (!assemble_configuration_data(device, options, sof.config, error))
        return false;
    sof.device_name = device.get_name();
    sof.design_name = options.design_name;
    sof.flags = options.flags;
    PGMIO_BYTES config;
    // The hash is the writer's to compute; it is filled in here so the value describes the file.
    if (!PGMIO_RBF::encode(sof.config, config, error))
        return false;
    sof.design_hash = pgmio_sha256(config);
    return PGMIO_SOF::validate(sof, error);
}

bool BITASM_MGR::assemble_helper_image(const PGM_DEVICE& device, uint32_t subtype, uint64_t seed,
                                       PGMIO_HELPER_IMAGE& helper, std::string& error)
{
    helper = PGMIO_HELPER_IMAGE{};
    const DEV_DEVICE_RECORD* record = device.get_fpga_record();
    const DEV_HELPER_IMAGE* image = record ? record->find_helper_image(subtype) : nullptr;
    if (!image)
    {
        error = "device '" + device.get_name() + "' has no helper image of subtype " + std::to_string(subtype);
        return false;
    }
    BITASM_OPTIONS options;
    options.seed = seed ^ subtype;
    options.size = std::max<uint64_t>(image->size, BITASM_MIN_CONFIG_SIZE);
    helper.device_name = device.get_name();
    helper.subtype = subtype;
    return assemble_configuration_data(device, options, helper.config, error) && PGMIO_HELPER::validate(helper, error);
}
