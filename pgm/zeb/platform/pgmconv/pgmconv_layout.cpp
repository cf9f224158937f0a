// SPDX-License-Identifier: Apache-2.0
// The flash layout: pages, raw data files, reserved partitions and the directory records placed
// into one address map of the flash device, checked, and walked in address order.
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

constexpr uint64_t k_remote_table_size = 0x8000;    // each sub-partition table and pointer block
constexpr uint64_t k_factory_extra_space = 0x40000; // the factory image keeps at least this free
constexpr uint32_t k_internal_flash_sector = 0x4000;
constexpr uint32_t k_sof_layout_sector = 0x10000;
constexpr uint64_t k_walk_piece = uint64_t(4) << 20; // alignment of pages laid out without a flash device
constexpr size_t k_stream_piece = size_t(256) << 10;

uint64_t align_up(uint64_t value, uint64_t unit)
{
    return (value + unit - 1) / unit * unit;
}

// The raw data file of an item: one added to the setup, or the user flash memory content that the
// device options name (index k_ufm_source).
constexpr uint32_t k_ufm_source = 0xFFFFFFFF;

PGMIO_CCF_RAW_FILE raw_of(const PGMIO_CCF::STATE& state, const PGMCONV_ITEM& item)
{
    if (item.index != k_ufm_source)
        return state.raw_files[item.index];
    PGMIO_CCF_RAW_FILE ufm;
    ufm.record.path = item.source;
    ufm.record.partition_name = item.name;
    ufm.hex = item.source.get_extension_type() == FIO_EXTENSION_TYPE_HEX;
    return ufm;
}

std::string range_text(uint64_t start, uint64_t end)
{
    return "(" + pgmio_hex_number(start) + ".." + pgmio_hex_number(end) + ")";
}

std::string item_text(const PGMCONV_ITEM& item)
{
    return "'" + item.name + "' " + range_text(item.start, item.end);
}

std::string page_name(const PGMIO_CCF_PAGE& page)
{
    return page.user_name.empty() ? "Page_" + std::to_string(page.number) : page.user_name;
}

// Reads `size` bytes of a file from `offset` (to its end with UINT64_MAX) in pieces, handing each
// to `use`; `count` is how many were read. False with the reason when the file cannot be read.
bool stream_file(const std::string& path, uint64_t offset, uint64_t size,
                 const std::function<void(std::span<const uint8_t>)>& use, uint64_t& count, std::string& error)
{
    count = 0;
    FIO_INPUT_FILE file;
    if (!file.open(path, error))
        return false;
    // Pieces small enough to stay in the cache between reading, checking and writing them.
    PGMIO_BYTES piece(k_stream_piece);
    const uint64_t end = offset < file.size() ? std::min(file.size() - offset, size) : 0;
    while (count < end)
    {
        const size_t wanted = size_t(std::min<uint64_t>(piece.size(), end - count));
        if (!file.read_at(offset + count, wanted, piece.data(), error))
            return false;
        use(std::span<const uint8_t>(piece.data(), wanted));
        count += wanted;
    }
    return true;
}

// CRC-32 of streamed bytes, and of the same bytes without their last four. Configuration data end
// with the CRC of what precedes them, so that every image has the same CRC over all of its bytes:
// only the second tells one image from another.
class STREAM_CRC
{
public:
    void add(std::span<const uint8_t> bytes)
    {
        if (bytes.size() >= sizeof m_tail)
        {
            body = pgmio_crc32(bytes.first(bytes.size() - sizeof m_tail), pgmio_crc32(tail(), body));
            std::copy(bytes.end() - sizeof m_tail, bytes.end(), m_tail);
            m_count = sizeof m_tail;
            return;
        }
        uint8_t joined[2 * sizeof m_tail];
        std::copy(bytes.begin(), bytes.end(), std::copy(m_tail, m_tail + m_count, joined));
        const size_t size = m_count + bytes.size();
        const size_t kept = std::min(size, sizeof m_tail);
        body = pgmio_crc32(std::span<const uint8_t>(joined, size - kept), body);
        std::copy(joined + size - kept, joined + size, m_tail);
        m_count = kept;
    }
    uint32_t all() const { return pgmio_crc32(tail(), body); }
    uint32_t body = 0;

private:
    std::span<const uint8_t> tail() const { return std::span<const uint8_t>(m_tail, m_count); }
    uint8_t m_tail[4] = {};
    size_t m_count = 0;
};

// `bytes` as they lie in the flash: bit-reversed into `scratch` when `reverse`.
std::span<const uint8_t> as_placed(std::span<const uint8_t> bytes, bool reverse, PGMIO_BYTES& scratch)
{
    if (!reverse)
        return bytes;
    scratch.assign(bytes.begin(), bytes.end());
    pgmio_reverse_bits(scratch);
    return scratch;
}

// A page's bytes from its input file held in memory.
std::span<const uint8_t> held_page(const PGMCONV_ITEM& item)
{
    return std::span<const uint8_t>(*item.held).subspan(item.source_offset, item.size);
}

// Streams the bytes of a raw binary file, or of a page that lies unchanged in its input, from the
// file as they lie in the flash, and fails when they are not the bytes that were measured.
bool stream_unchanged(const PGMIO_CCF::STATE& state, const PGMCONV_ITEM& item,
                      const std::function<bool(uint64_t offset, std::span<const uint8_t>)>& use, std::string& error)
{
    const bool raw_binary = item.kind == PGMCONV_ITEM_RAW;
    const bool swap = raw_binary && !raw_of(state, item).record.byte_swap;
    const std::string path = item.source.get_full_path();
    PGMIO_BYTES swapped;
    STREAM_CRC crc;
    uint64_t offset = 0;
    bool used = true;
    uint64_t count = 0;
    const bool read = stream_file(
        path, raw_binary ? 0 : item.source_offset, item.size,
        [&](std::span<const uint8_t> bytes)
        {
            bytes = as_placed(bytes, swap, swapped);
            crc.add(bytes);
            used = used && use(offset, bytes);
            offset += bytes.size();
        },
        count, error);
    if (!read || !used)
        return false;
    if (count != item.size || crc.all() != item.crc || crc.body != item.body_crc)
    {
        error = "'" + path + "' changed while the conversion ran";
        return false;
    }
    return true;
}

// Size and CRC-32 of a raw data file as it lies in the flash, and where its first byte goes.
bool measure_raw(const PGMIO_CCF::STATE& state, PGMCONV_ITEM& item, std::string& error)
{
    const PGMIO_CCF_RAW_FILE raw = raw_of(state, item);
    if (!raw.hex)
    {
        // A binary file is streamed: its bytes are placed as they are read, never held whole.
        PGMIO_SHA256 sha;
        PGMIO_BYTES swapped;
        STREAM_CRC crc;
        const std::string path = raw.record.path.get_full_path();
        const bool read = stream_file(
            path, 0, UINT64_MAX,
            [&](std::span<const uint8_t> bytes)
            {
                if (state.mem_map)
                    sha.update(bytes);
                crc.add(as_placed(bytes, !raw.record.byte_swap, swapped));
            },
            item.size, error);
        if (!read)
            return false;
        if (item.size == 0)
        {
            error = "raw data file '" + path + "' holds no data";
            return false;
        }
        item.crc = crc.all();
        item.body_crc = crc.body;
        if (state.mem_map)
            item.source_sha = pgmio_hex_text(sha.finish());
        return true;
    }
    PGMIO_BYTES bytes;
    if (!pgmconv_item_bytes(state, PGMCONV_LAYOUT{}, item, bytes, error))
        return false;
    item.size = bytes.size();
    item.crc = pgmio_crc32(bytes);
    if (!state.mem_map)
        return true;
    // The bytes in the flash are not the file's: hash the file itself.
    PGMIO_BYTES file;
    if (!pgmio_read_file(item.source.get_full_path(), file, error))
        return false;
    item.source_sha = pgmio_hex_text(pgmio_sha256(file));
    return true;
}

bool find_flash(const PGMIO_CCF::STATE& state, PGMCONV_LAYOUT& layout, bool& internal, std::string& error)
{
    internal = false;
    if (state.flash_device.empty())
    {
        error = "no flash device is set for a flash layout";
        return false;
    }
    layout.flash_device = state.flash_device;
    GFPDB_QSPI_MGR manager;
    if (const DEV_FLASH_RECORD* flash = manager.find_device(state.flash_device))
    {
        const auto& widths = flash->data_widths;
        if (state.width != 0 && !widths.empty() && std::find(widths.begin(), widths.end(), state.width) == widths.end())
        {
            std::string allowed;
            for (uint32_t width : widths)
                allowed += (allowed.empty() ? "" : ", ") + std::to_string(width);
            error = "flash device " + state.flash_device + " is not read with a data width of " +
                    std::to_string(state.width) + " bits (it takes " + allowed + ")";
            return false;
        }
        layout.flash_size = flash->size;
        layout.sector = flash->sector_size ? flash->sector_size : 0x10000;
        return true;
    }
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(state.flash_device));
    if (device && device->get_fpga_record() && !device->get_fpga_record()->internal_flash.empty())
    {
        for (const DEV_FLASH_REGION& region : device->get_fpga_record()->internal_flash)
            layout.flash_size = std::max<uint64_t>(layout.flash_size, uint64_t(region.start) + region.size);
        layout.sector = k_internal_flash_sector;
        internal = true;
        return true;
    }
    error = "unknown flash device '" + state.flash_device + "'";
    return false;
}

const DEV_FLASH_REGION* internal_region(const PGMIO_CCF::STATE& state, const std::string& name)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(state.flash_device));
    if (!device || !device->get_fpga_record())
        return nullptr;
    for (const DEV_FLASH_REGION& region : device->get_fpga_record()->internal_flash)
        if (region.name == name)
            return &region;
    return nullptr;
}

PGMCONV_ITEM directory(const std::string& name, uint16_t kind, uint64_t reserve)
{
    PGMCONV_ITEM item;
    item.kind = PGMCONV_ITEM_DIRECTORY;
    item.name = name;
    item.dir_kind = kind;
    item.extra = reserve;
    return item;
}

// Applies a partition's placement (fixed start and end) to an item.
void place_by_partition(PGMCONV_ITEM& item, const PGMIO_CCF_PARTITION& partition)
{
    if (partition.scheme != PGMIO_ADDR_AUTO && partition.start != PGMIO_CCF_AUTO)
    {
        item.fixed_start = true;
        item.start = partition.start;
    }
    if (partition.scheme == PGMIO_ADDR_FIXED && partition.end != PGMIO_CCF_AUTO)
    {
        item.fixed_end = true;
        item.end = partition.end;
    }
    else if (partition.size > 0 && item.extra == 0 && item.size < partition.size)
        item.extra = partition.size - item.size;
}

// Collects every item with its size, before placement.
bool collect_items(const PGMIO_CCF::STATE& state, bool with_flash, bool internal, PGMCONV_LAYOUT& layout,
                   std::string& error)
{
    std::vector<PGMCONV_ITEM> pages;
    for (uint32_t i = 0; i < state.pages.size(); ++i)
    {
        const PGMIO_CCF_PAGE& page = state.pages[i];
        if (page.input.is_empty())
            continue;
        PGMCONV_PAGE_IMAGE image;
        PGMCONV_ITEM item;
        if (!pgmconv_page_image(state, i, image, error, state.mem_map))
            return false;
        // Bytes that lie unchanged in the input are streamed from there; others are kept aside.
        item.source_offset = image.source_offset;
        if (item.source_offset == PGMCONV_NOT_IN_SOURCE && !layout.spill->put(image.data(), item.spill_offset, error))
            return false;
        if (state.mem_map)
            item.source_sha = pgmio_hex_text(image.source_sha);
        item.kind = PGMCONV_ITEM_PAGE;
        item.name = page_name(page);
        item.index = i;
        item.size = image.data().size();
        item.crc = item.source_offset != PGMCONV_NOT_IN_SOURCE ? image.crc : pgmio_crc32(image.data());
        item.body_crc = image.body_crc;
        if (item.source_offset != PGMCONV_NOT_IN_SOURCE && layout.held_bytes + image.bytes.size() <= layout.hold_budget)
        {
            layout.held_bytes += image.bytes.size();
            item.held = std::make_shared<const PGMIO_BYTES>(std::move(image.bytes));
        }
        item.source = page.input;
        item.device = image.device->get_name();
        item.extra = page.extra_space;
        if (page.scheme != PGMIO_ADDR_AUTO && page.start != PGMIO_CCF_AUTO)
        {
            item.fixed_start = true;
            item.start = page.start;
        }
        if (page.scheme == PGMIO_ADDR_FIXED && page.end != PGMIO_CCF_AUTO)
        {
            item.fixed_end = true;
            item.end = page.end;
        }
        if (!layout.fpga)
        {
            layout.fpga = image.device;
            layout.design_flags = image.design_flags;
        }
        else if (layout.fpga != image.device)
        {
            error = "page '" + item.name + "' is for device " + item.device + ", page '" + pages.front().name +
                    "' for " + layout.fpga->get_name() + ": one flash configures one device";
            return false;
        }
        pages.push_back(std::move(item));
    }
    std::stable_sort(pages.begin(), pages.end(),
                     [&state](const PGMCONV_ITEM& a, const PGMCONV_ITEM& b)
                     { return state.pages[a.index].number < state.pages[b.index].number; });
    if (pages.empty())
    {
        error = "the conversion has no page with a configuration image";
        return false;
    }
    if (!with_flash)
    {
        layout.items = std::move(pages);
        return true;
    }

    if (!state.boot_info_input.is_empty())
    {
        // The boot information describes the design of this input: it must be for the same device.
        const PGM_DEVICE* device = nullptr;
        const FIO_PATH& input = state.boot_info_input;
        const bool read = input.get_extension_type() == FIO_EXTENSION_TYPE_RBF
                              ? PGMIO_POFIO_UTIL_EXPORT::precheck_raw_binary_file(input, &device, nullptr, error)
                              : PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(input, &device, nullptr, error);
        if (!read)
            return error = "boot information input: " + error, false;
        if (device != layout.fpga)
            return error = "boot information input '" + input.get_full_path() + "' is for " + device->get_name() +
                           ", the pages for " + layout.fpga->get_name(),
                   false;
    }
    const DEV_DEVICE_RECORD* fpga = layout.fpga->get_fpga_record();
    std::vector<PGMCONV_ITEM>& items = layout.items;
    if (fpga->has_cmf_flash_block_layout && !internal)
    {
        const uint64_t block = fpga->cmf_flash_block_size;
        layout.remote_update = pages.size() > 1 && fpga->capabilities.remote_update;
        PGMCONV_ITEM boot = directory("BOOT_INFO", PGMIO_DIR_BOOT_INFO, 0);
        boot.fixed_start = boot.fixed_end = true;
        boot.end = 4 * block - 1 + (layout.remote_update ? 0x10000 : 0);
        items.push_back(boot);
        if (layout.remote_update)
        {
            auto factory = std::find_if(pages.begin(), pages.end(),
                                        [](const PGMCONV_ITEM& p) { return p.name == "FACTORY_IMAGE"; });
            if (factory == pages.end())
                factory = pages.begin();
            if (!factory->fixed_start)
            {
                factory->fixed_start = true;
                factory->start = boot.end + 1;
            }
            factory->extra = std::max(factory->extra, k_factory_extra_space);
            items.push_back(*factory);
            pages.erase(factory);
            for (const char* name : {"SPT0", "SPT1"})
                items.push_back(directory(name, PGMIO_DIR_PARTITION_TABLE, k_remote_table_size));
            for (const char* name : {"CPB0", "CPB1"})
                items.push_back(directory(name, PGMIO_DIR_POINTER_BLOCK, k_remote_table_size));
        }
    }
    if (state.options_area)
    {
        PGMCONV_ITEM options = directory("OPTIONS", PGMIO_DIR_OPTION_BITS, 0);
        options.fixed_start = true;
        options.start = state.options_start;
        items.push_back(options);
    }
    items.insert(items.end(), pages.begin(), pages.end());

    // Raw data files, each in its partition.
    std::vector<std::string> used_partitions;
    for (uint32_t i = 0; i < state.raw_files.size(); ++i)
    {
        const PGMIO_CCF_RAW_FILE& raw = state.raw_files[i];
        PGMCONV_ITEM item;
        item.kind = PGMCONV_ITEM_RAW;
        item.index = i;
        item.name = raw.record.partition_name.empty() ? raw.record.path.get_file_name() : raw.record.partition_name;
        item.source = raw.record.path;
        item.index = i;
        if (!measure_raw(state, item, error))
            return false;
        if (raw.partition_start != PGMIO_CCF_AUTO)
        {
            item.fixed_start = true;
            item.start = raw.partition_start;
        }
        for (const PGMIO_CCF_PARTITION& partition : state.partitions)
            if (partition.name == raw.record.partition_name)
                place_by_partition(item, partition);
        if (raw.record.address != PGMIO_CCF_AUTO)
        {
            item.fixed_start = true;
            item.start = raw.record.address;
        }
        used_partitions.push_back(raw.record.partition_name);
        items.push_back(std::move(item));
    }
    // The user flash memory of a device with internal flash, from the file its options name.
    const DSET_ZB_DEV_OPTIONS_INFO* options = state.dev_options.get();
    if (internal && options && options->ufm_source == DSET_ZB_UFM_SOURCE_FILE && !options->ufm_source_file.empty())
    {
        PGMCONV_ITEM item;
        item.kind = PGMCONV_ITEM_RAW;
        item.index = k_ufm_source;
        item.name = "UFM";
        item.source = FIO_PATH(options->ufm_source_file);
        if (!measure_raw(state, item, error))
            return false;
        items.push_back(std::move(item));
    }
    // Partitions: the placement of a reserved structure, or space kept free.
    for (const PGMIO_CCF_PARTITION& partition : state.partitions)
    {
        if (std::find(used_partitions.begin(), used_partitions.end(), partition.name) != used_partitions.end())
            continue;
        auto same = std::find_if(items.begin(), items.end(),
                                 [&partition](const PGMCONV_ITEM& item) { return item.name == partition.name; });
        if (same != items.end())
        {
            if (same->kind == PGMCONV_ITEM_DIRECTORY && !same->fixed_start)
                place_by_partition(*same, partition);
            continue;
        }
        PGMCONV_ITEM item;
        item.kind = PGMCONV_ITEM_RESERVED;
        item.name = partition.name;
        item.extra = partition.size;
        place_by_partition(item, partition);
        if (!item.fixed_end && item.extra == 0)
            continue; // nothing to keep
        items.push_back(std::move(item));
    }
    // Internal flash blocks sit where the catalogue puts them.
    if (internal)
        for (PGMCONV_ITEM& item : items)
            if (const DEV_FLASH_REGION* region = internal_region(state, item.name))
            {
                item.fixed_start = item.fixed_end = true;
                item.start = region->start;
                item.end = uint64_t(region->start) + region->size - 1;
            }
    // Every flash layout carries a directory so that a reader of the raw bytes finds its images.
    const bool has_directory = std::any_of(
        items.begin(), items.end(), [](const PGMCONV_ITEM& item) { return item.kind == PGMCONV_ITEM_DIRECTORY; });
    if (!has_directory)
        items.push_back(directory("OPTION_BITS", PGMIO_DIR_OPTION_BITS, 0));
    return true;
}

// Entries of a directory record, one per item that the kind lists.
PGMIO_FLASH_DIR directory_of(const PGMCONV_LAYOUT& layout, const PGMCONV_ITEM& self,
                             const std::vector<PGMCONV_ITEM>& items, const PGMIO_CCF::STATE& state)
{
    PGMIO_FLASH_DIR dir;
    dir.kind = self.dir_kind;
    dir.idcode = layout.fpga ? layout.fpga->get_fpga_record()->jtag.idcode : 0;
    dir.sequence = self.dir_kind == PGMIO_DIR_POINTER_BLOCK ? 1 : 0;
    const PGMCONV_ITEM* factory = nullptr;
    for (const PGMCONV_ITEM& item : items)
        if (item.kind == PGMCONV_ITEM_PAGE && (!factory || item.name == "FACTORY_IMAGE"))
            factory = &item;
    for (const PGMCONV_ITEM& item : items)
    {
        if (&item == &self)
            continue;
        PGMIO_DIR_ENTRY entry{item.name.substr(0, PGMIO_DIR_NAME_SIZE - 1), item.data_start, item.size, item.crc, 0, 0};
        if (item.kind == PGMCONV_ITEM_PAGE)
        {
            // A sub-partition table lists a page under its table entry, the others by page number.
            const PGMIO_CCF_PAGE& page = state.pages[item.index];
            entry.flags = PGMIO_DIR_ENTRY_IMAGE;
            entry.page = self.dir_kind == PGMIO_DIR_PARTITION_TABLE ? page.table : page.number;
        }
        else if (item.kind == PGMCONV_ITEM_RAW)
            entry.flags = PGMIO_DIR_ENTRY_RAW;
        else
        {
            entry.flags = PGMIO_DIR_ENTRY_RESERVED;
            entry.start = item.start;
        }
        bool listed = false;
        switch (self.dir_kind)
        {
        case PGMIO_DIR_BOOT_INFO:
            listed = item.kind != PGMCONV_ITEM_RESERVED;
            break;
        case PGMIO_DIR_PARTITION_TABLE:
            listed = item.kind != PGMCONV_ITEM_DIRECTORY;
            break;
        case PGMIO_DIR_POINTER_BLOCK:
            listed = item.kind == PGMCONV_ITEM_PAGE && &item != factory;
            break;
        default:
            listed = item.kind == PGMCONV_ITEM_PAGE || item.kind == PGMCONV_ITEM_RAW;
            break;
        }
        if (!listed)
            continue;
        if (&item == factory || (self.dir_kind == PGMIO_DIR_POINTER_BLOCK && dir.boot == PGMIO_DIR_NO_BOOT))
            dir.boot = uint32_t(dir.entries.size());
        dir.entries.push_back(std::move(entry));
    }
    return dir;
}

bool place_items(const PGMIO_CCF::STATE& state, bool with_flash, PGMCONV_LAYOUT& layout, std::string& error)
{
    std::vector<PGMCONV_ITEM>& items = layout.items;
    // Directory sizes follow from the number of entries they list.
    for (PGMCONV_ITEM& item : items)
        if (item.kind == PGMCONV_ITEM_DIRECTORY)
        {
            const size_t entries = directory_of(layout, item, items, state).entries.size();
            item.size = PGMIO_FLASH_DIR_CODEC::size(entries);
            item.extra = item.extra > item.size ? item.extra - item.size : 0;
        }
    const uint64_t sector = layout.sector;
    std::vector<const PGMCONV_ITEM*> placed;
    auto finish = [&](PGMCONV_ITEM& item) -> bool
    {
        if (item.data_start < item.start || item.kind != PGMCONV_ITEM_RAW)
            item.data_start = item.start;
        const uint64_t content_end = item.data_start + item.size; // first byte after
        if (!item.fixed_end)
            item.end = align_up(std::max(content_end + item.extra, item.start + 1), sector) - 1;
        else if (item.end < item.start || (item.size > 0 && content_end - 1 > item.end))
        {
            error = "'" + item.name + "' needs " + range_text(item.data_start, content_end - 1) +
                    " but its partition is only " + range_text(item.start, item.end);
            return false;
        }
        placed.push_back(&item);
        return true;
    };
    for (PGMCONV_ITEM& item : items)
        if (item.fixed_start)
        {
            if (item.kind != PGMCONV_ITEM_RAW && item.start % sector != 0)
            {
                error = "start address " + pgmio_hex_number(item.start) + " of '" + item.name +
                        "' is not on an erase sector boundary (sectors of " + pgmio_hex_number(sector) + " bytes)";
                return false;
            }
            if (item.kind == PGMCONV_ITEM_RAW)
            {
                item.data_start = item.start;
                item.start = item.start / sector * sector;
            }
            if (!finish(item))
                return false;
        }
    uint64_t cursor = with_flash ? 0 : state.options->start_address;
    for (PGMCONV_ITEM& item : items)
    {
        if (item.fixed_start)
            continue;
        uint64_t start = with_flash ? align_up(cursor, sector) : cursor;
        const uint64_t span = align_up(item.size + item.extra, sector);
        for (bool moved = true; moved;)
        {
            moved = false;
            for (const PGMCONV_ITEM* other : placed)
                if (start <= other->end && other->start < start + std::max<uint64_t>(span, 1))
                {
                    start = align_up(other->end + 1, sector);
                    moved = true;
                }
        }
        item.start = start;
        if (!finish(item))
            return false;
        cursor = item.end + 1;
    }
    std::stable_sort(items.begin(), items.end(),
                     [](const PGMCONV_ITEM& a, const PGMCONV_ITEM& b) { return a.start < b.start; });
    for (size_t i = 0; i < items.size(); ++i)
    {
        const PGMCONV_ITEM& item = items[i];
        if (item.end >= layout.flash_size)
        {
            error = "partition " + item_text(item) + " is outside the flash " + layout.flash_device +
                    ", the available range is only " + range_text(0, layout.flash_size - 1);
            return false;
        }
        if (i > 0 && item.start <= items[i - 1].end)
        {
            error = "partition " + item_text(items[i - 1]) + " overlaps partition " + item_text(item);
            return false;
        }
        if (item.size > 0)
            layout.used_end = std::max(layout.used_end, align_up(item.data_start + item.size, sector));
    }
    // Directories get their CRC last: they list the others.
    for (PGMCONV_ITEM& item : items)
        if (item.kind == PGMCONV_ITEM_DIRECTORY && item.dir_kind != PGMIO_DIR_BOOT_INFO)
        {
            PGMIO_BYTES bytes;
            if (!pgmconv_item_bytes(state, layout, item, bytes, error))
                return false;
            item.crc = pgmio_crc32(bytes);
        }
    for (PGMCONV_ITEM& item : items)
        if (item.kind == PGMCONV_ITEM_DIRECTORY && item.dir_kind == PGMIO_DIR_BOOT_INFO)
        {
            PGMIO_BYTES bytes;
            if (!pgmconv_item_bytes(state, layout, item, bytes, error))
                return false;
            item.crc = pgmio_crc32(bytes);
        }
    return true;
}

} // namespace

bool pgmconv_build_layout(const PGMIO_CCF::STATE& state, bool with_flash, PGMCONV_LAYOUT& layout, std::string& error)
{
    const uint64_t hold_budget = layout.hold_budget;
    layout = PGMCONV_LAYOUT{};
    layout.hold_budget = hold_budget;
    layout.spill = std::make_shared<PGMCONV_SPILL>();
    bool internal = false;
    if (with_flash)
    {
        if (!find_flash(state, layout, internal, error))
            return false;
    }
    else
    {
        layout.flash_size = uint64_t(1) << 32;
        layout.sector = k_sof_layout_sector;
    }
    return collect_items(state, with_flash, internal, layout, error) && place_items(state, with_flash, layout, error);
}

bool pgmconv_item_bytes(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const PGMCONV_ITEM& item,
                        PGMIO_BYTES& bytes, std::string& error)
{
    bytes.clear();
    switch (item.kind)
    {
    case PGMCONV_ITEM_PAGE:
    {
        if (item.held)
        {
            const std::span<const uint8_t> held = held_page(item);
            bytes.assign(held.begin(), held.end());
            return true;
        }
        if (item.source_offset != PGMCONV_NOT_IN_SOURCE)
            return stream_unchanged(
                state, item,
                [&bytes](uint64_t, std::span<const uint8_t> piece)
                {
                    bytes.insert(bytes.end(), piece.begin(), piece.end());
                    return true;
                },
                error);
        if (layout.spill)
            return layout.spill->get(item.spill_offset, item.size, bytes, error);
        PGMCONV_PAGE_IMAGE image;
        if (!pgmconv_page_image(state, item.index, image, error))
            return false;
        image.bytes.erase(image.bytes.begin(), image.bytes.begin() + long(image.skip));
        bytes = std::move(image.bytes);
        return true;
    }
    case PGMCONV_ITEM_RAW:
    {
        const PGMIO_CCF_RAW_FILE raw = raw_of(state, item);
        const std::string path = raw.record.path.get_full_path();
        if (raw.hex)
        {
            PGMIO_HEX_READER reader;
            reader.set_file(path);
            uint32_t base = 0;
            if (!reader.read_hex_file(false, false))
            {
                error = reader.get_error();
                return false;
            }
            if (!reader.get_image(PGMIO_MAX_FILE_SIZE, 0xFF, base, bytes, error))
                return false;
        }
        else if (!pgmio_read_file(path, bytes, error))
            return false;
        if (bytes.empty())
        {
            error = "raw data file '" + path + "' holds no data";
            return false;
        }
        if (!raw.record.byte_swap)
            pgmio_reverse_bits(bytes);
        return true;
    }
    case PGMCONV_ITEM_DIRECTORY:
        return PGMIO_FLASH_DIR_CODEC::encode(directory_of(layout, item, layout.items, state), bytes, error);
    default:
        return true;
    }
}

bool pgmconv_walk_layout(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, const PGMCONV_SINK& sink,
                         std::string& error)
{
    for (const PGMCONV_ITEM& item : layout.items)
    {
        if (item.size == 0)
            continue;
        const bool raw_binary = item.kind == PGMCONV_ITEM_RAW && !raw_of(state, item).hex;
        if (item.held)
        {
            const std::span<const uint8_t> held = held_page(item);
            for (uint64_t offset = 0; offset < item.size; offset += k_walk_piece)
                if (!sink(item, offset, held.subspan(offset, std::min<uint64_t>(k_walk_piece, item.size - offset))))
                    return false;
            continue;
        }
        const bool from_file =
            raw_binary || (item.kind == PGMCONV_ITEM_PAGE && item.source_offset != PGMCONV_NOT_IN_SOURCE);
        if (!from_file && !(item.kind == PGMCONV_ITEM_PAGE && layout.spill))
        {
            PGMIO_BYTES bytes;
            if (!pgmconv_item_bytes(state, layout, item, bytes, error) || !sink(item, 0, bytes))
                return false;
            continue;
        }
        if (!from_file)
        {
            // Pages kept aside, in pieces.
            PGMIO_BYTES piece;
            for (uint64_t offset = 0; offset < item.size; offset += piece.size())
                if (!layout.spill->get(item.spill_offset + offset, std::min<uint64_t>(k_walk_piece, item.size - offset),
                                       piece, error) ||
                    !sink(item, offset, piece))
                    return false;
            continue;
        }
        // Raw binary files and pages that lie unchanged in their input are read again, in pieces.
        if (!stream_unchanged(
                state, item, [&](uint64_t offset, std::span<const uint8_t> bytes) { return sink(item, offset, bytes); },
                error))
            return false;
    }
    return true;
}
