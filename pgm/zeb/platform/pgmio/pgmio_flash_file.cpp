// SPDX-License-Identifier: Apache-2.0
// Programmer object file (.pof) and JTAG indirect configuration file (.jic): one flash image model,
// two container kinds. Sections: "FLSH" flash header, "OPTB" option bits, "PAGE" page table,
// "FBLK" flash data blocks (any number), and for a .jic "FLDR" the flash loader.
#include "pgm/zeb/platform/pgmio/pgmio.h"

#include <algorithm>
#include <set>

namespace
{

constexpr uint32_t k_header = pgmio_tag("FLSH");
constexpr uint32_t k_option_bits = pgmio_tag("OPTB");
constexpr uint32_t k_pages = pgmio_tag("PAGE");
constexpr uint32_t k_block = pgmio_tag("FBLK");
constexpr uint32_t k_loader = pgmio_tag("FLDR");
// A page entry is at least a 2-byte name length and two 8-byte addresses: a bound on the count.
constexpr uint64_t k_min_page_entry = 18;

std::string range_text(uint64_t start, uint64_t size)
{
    std::string text = "(";
    text += pgmio_hex_number(start);
    text += "..";
    text += pgmio_hex_number(start + size - 1);
    return text + ")";
}

bool check_range(const char* what, uint64_t start, uint64_t size, uint64_t flash_size, std::string& error)
{
    if (size == 0)
    {
        error = std::string(what) + " at " + pgmio_hex_number(start) + " is empty";
        return false;
    }
    if (start >= flash_size || size > flash_size - start)
    {
        error = std::string(what) + " address range " + range_text(start, std::min(size, UINT64_MAX - start)) +
                " is outside the flash, the available range is only " + range_text(0, flash_size);
        return false;
    }
    return true;
}


std::vector<PGMIO_FLASH_EXTENT> extents_of(const std::vector<PGMIO_FLASH_BLOCK>& blocks)
{
    std::vector<PGMIO_FLASH_EXTENT> extents;
    for (const PGMIO_FLASH_BLOCK& block : blocks)
        extents.push_back({block.address, block.data.size()});
    return extents;
}

// The sections before the blocks, in file order.
std::vector<std::pair<uint32_t, PGMIO_BYTES>> leading_sections(const PGMIO_FLASH_IMAGE& flash)
{
    PGMIO_BYTE_WRITER header;
    header.str(flash.flash_device);
    header.u64(flash.flash_size);
    header.str(flash.fpga_device);
    header.u32(flash.idcode);
    header.u32(flash.design_flags);
    header.u32(flash.flags);
    PGMIO_BYTE_WRITER option_bits;
    option_bits.u64(flash.option_bits_address);
    option_bits.bytes(flash.option_bits);
    PGMIO_BYTE_WRITER pages;
    pages.u32(uint32_t(flash.pages.size()));
    for (const PGMIO_FLASH_PAGE& page : flash.pages)
    {
        pages.str(page.name);
        pages.u64(page.start);
        pages.u64(page.end);
    }
    return {{k_header, std::move(header.data())},
            {k_option_bits, std::move(option_bits.data())},
            {k_pages, std::move(pages.data())}};
}

PGMIO_BYTES loader_section(const PGMIO_FLASH_IMAGE& flash)
{
    PGMIO_BYTE_WRITER loader;
    loader.str(flash.loader_device);
    loader.bytes(flash.loader_image);
    return std::move(loader.data());
}

PGMIO_BYTES block_address(uint64_t address)
{
    PGMIO_BYTE_WRITER field;
    field.u64(address);
    return std::move(field.data());
}

} // namespace

bool PGMIO_FLASH_FILE::validate(const PGMIO_FLASH_IMAGE& flash, std::string& error)
{
    return validate(flash, extents_of(flash.blocks), error);
}

bool PGMIO_FLASH_FILE::validate(const PGMIO_FLASH_IMAGE& flash, std::span<const PGMIO_FLASH_EXTENT> blocks,
                                std::string& error)
{
    if (flash.flash_device.empty() || flash.fpga_device.empty())
    {
        error = flash.flash_device.empty() ? "no flash device name" : "no FPGA device name";
        return false;
    }
    if (flash.flash_device.size() > 0xFFFF || flash.fpga_device.size() > 0xFFFF || flash.loader_device.size() > 0xFFFF)
    {
        error = "a device name is longer than 65535 bytes";
        return false;
    }
    if (flash.flash_size == 0)
    {
        error = "the flash size is 0";
        return false;
    }
    if ((flash.idcode & 1) == 0)
    {
        error = "IDCODE " + pgmio_hex_number(flash.idcode) + " is not a JTAG IDCODE (bit 0 is clear)";
        return false;
    }
    if (flash.design_flags & ~PGMIO_DESIGN_ALL)
    {
        error = "unknown design flags " + pgmio_hex_number(flash.design_flags & ~PGMIO_DESIGN_ALL);
        return false;
    }
    if (flash.flags & ~PGMIO_FLASH_REMOTE_UPDATE)
    {
        error = "unknown flash file flags " + pgmio_hex_number(flash.flags & ~PGMIO_FLASH_REMOTE_UPDATE);
        return false;
    }
    if (!check_range("the option bits", flash.option_bits_address, flash.option_bits.size(), flash.flash_size, error))
        return false;
    std::set<std::string> names;
    std::vector<const PGMIO_FLASH_PAGE*> pages;
    for (const PGMIO_FLASH_PAGE& page : flash.pages)
    {
        if (page.name.empty() || page.name.size() > 0xFFFF)
        {
            error = "a page has an empty or overlong name";
            return false;
        }
        if (!names.insert(page.name).second)
        {
            error = "page name '" + page.name + "' is used twice";
            return false;
        }
        if (page.end < page.start || page.end >= flash.flash_size)
        {
            error = "page '" + page.name + "' range (" + pgmio_hex_number(page.start) + ".." +
                    pgmio_hex_number(page.end) + ") is not inside the flash " + range_text(0, flash.flash_size);
            return false;
        }
        pages.push_back(&page);
    }
    std::sort(pages.begin(), pages.end(), [](auto* a, auto* b) { return a->start < b->start; });
    for (size_t i = 1; i < pages.size(); ++i)
    {
        if (pages[i]->start <= pages[i - 1]->end)
        {
            error = "pages '" + pages[i - 1]->name + "' and '" + pages[i]->name + "' overlap";
            return false;
        }
    }
    const uint64_t options_end = flash.option_bits_address + flash.option_bits.size();
    for (size_t i = 0; i < blocks.size(); ++i)
    {
        const PGMIO_FLASH_EXTENT& block = blocks[i];
        if (!check_range("flash data block", block.address, block.size, flash.flash_size, error))
            return false;
        if (i > 0 && block.address < blocks[i - 1].address + blocks[i - 1].size)
        {
            error = "flash data block at " + pgmio_hex_number(block.address) +
                    " overlaps the one before it or is out of ascending order";
            return false;
        }
        if (block.address < options_end && flash.option_bits_address < block.address + block.size)
        {
            error = "flash data block at " + pgmio_hex_number(block.address) + " overlaps the option bits";
            return false;
        }
    }
    if (flash.jic != !flash.loader_device.empty() || flash.jic != !flash.loader_image.empty())
    {
        error = flash.jic ? "a JTAG indirect configuration file needs a flash loader device and image"
                          : "a programmer object file carries no flash loader";
        return false;
    }
    return true;
}

bool PGMIO_FLASH_FILE::encode(const PGMIO_FLASH_IMAGE& flash, PGMIO_BYTES& image, std::string& error)
{
    if (!validate(flash, error))
        return false;
    const std::vector<std::pair<uint32_t, PGMIO_BYTES>> leading = leading_sections(flash);
    std::vector<PGMIO_BYTES> blocks;
    for (const PGMIO_FLASH_BLOCK& block : flash.blocks)
    {
        blocks.push_back(block_address(block.address));
        blocks.back().insert(blocks.back().end(), block.data.begin(), block.data.end());
    }
    const PGMIO_BYTES loader = loader_section(flash);
    PGMIO_CONTAINER_BUILDER builder(flash.jic ? PGMIO_KIND_JIC : PGMIO_KIND_POF);
    for (const auto& [tag, data] : leading)
        builder.add(tag, data);
    for (const PGMIO_BYTES& block : blocks)
        builder.add(k_block, block);
    if (flash.jic)
        builder.add(k_loader, loader);
    return builder.finish(image, error);
}

bool PGMIO_FLASH_FILE::decode(std::span<const uint8_t> image, PGMIO_FLASH_IMAGE& flash, std::string& error)
{
    std::vector<std::pair<uint64_t, std::span<const uint8_t>>> blocks;
    if (!decode_in_place(image, flash, blocks, error))
        return false;
    for (const auto& [address, data] : blocks)
        flash.blocks.push_back({address, PGMIO_BYTES(data.begin(), data.end())});
    return true;
}

bool PGMIO_FLASH_FILE::decode_in_place(std::span<const uint8_t> image, PGMIO_FLASH_IMAGE& flash,
                                       std::vector<std::pair<uint64_t, std::span<const uint8_t>>>& blocks,
                                       std::string& error)
{
    flash = PGMIO_FLASH_IMAGE{};
    blocks.clear();
    PGMIO_CONTAINER_VIEW view;
    if (!pgmio_parse_container(image, view, error))
        return false;
    if (view.kind != PGMIO_KIND_POF && view.kind != PGMIO_KIND_JIC)
    {
        error = "the file holds '" + pgmio_tag_text(view.kind) +
                "' data, not a programmer object file ('POF ') "
                "or JTAG indirect configuration file ('JIC ')";
        return false;
    }
    flash.jic = view.kind == PGMIO_KIND_JIC;
    const bool sections_ok =
        flash.jic ? pgmio_check_section_set(view, {k_header, k_option_bits, k_pages, k_loader}, {}, {k_block}, error)
                  : pgmio_check_section_set(view, {k_header, k_option_bits, k_pages}, {}, {k_block}, error);
    if (!sections_ok)
        return false;

    PGMIO_BYTE_READER header(view.find_all(k_header)[0]->data, "FLSH");
    flash.flash_device = header.str();
    flash.flash_size = header.u64();
    flash.fpga_device = header.str();
    flash.idcode = header.u32();
    flash.design_flags = header.u32();
    flash.flags = header.u32();
    if (!header.finish(error))
        return false;

    PGMIO_BYTE_READER option_bits(view.find_all(k_option_bits)[0]->data, "OPTB");
    flash.option_bits_address = option_bits.u64();
    const std::span<const uint8_t> bits = option_bits.rest();
    if (!option_bits.finish(error))
        return false;
    flash.option_bits.assign(bits.begin(), bits.end());

    PGMIO_BYTE_READER pages(view.find_all(k_pages)[0]->data, "PAGE");
    const uint32_t count = pages.u32();
    // Checked against the bytes present before anything is reserved for the entries.
    if (count > pages.remaining() / k_min_page_entry)
        pages.fail("page count " + std::to_string(count) + " does not fit in the section");
    for (uint32_t i = 0; i < count && pages.ok(); ++i)
    {
        PGMIO_FLASH_PAGE page;
        page.name = pages.str();
        page.start = pages.u64();
        page.end = pages.u64();
        flash.pages.push_back(std::move(page));
    }
    if (!pages.finish(error))
        return false;

    for (const PGMIO_SECTION_VIEW* section : view.find_all(k_block))
    {
        PGMIO_BYTE_READER block(section->data, "FBLK");
        const uint64_t address = block.u64();
        const std::span<const uint8_t> data = block.rest();
        if (!block.finish(error))
            return false;
        blocks.emplace_back(address, data);
    }
    if (flash.jic)
    {
        PGMIO_BYTE_READER loader(view.find_all(k_loader)[0]->data, "FLDR");
        flash.loader_device = loader.str();
        const std::span<const uint8_t> loader_image = loader.rest();
        if (!loader.finish(error))
            return false;
        flash.loader_image.assign(loader_image.begin(), loader_image.end());
    }
    std::vector<PGMIO_FLASH_EXTENT> extents;
    for (const auto& [address, data] : blocks)
        extents.push_back({address, data.size()});
    return validate(flash, extents, error);
}

bool PGMIO_FLASH_FILE::write(const std::string& path, const PGMIO_FLASH_IMAGE& flash, std::string& error)
{
    PGMIO_FLASH_FILE_STREAM out(path, flash, extents_of(flash.blocks));
    if (!out.start(error))
        return false;
    for (const PGMIO_FLASH_BLOCK& block : flash.blocks)
        out.append(block.data);
    return out.finish(error);
}

bool PGMIO_FLASH_FILE::read(const std::string& path, PGMIO_FLASH_IMAGE& flash, std::string& error)
{
    PGMIO_BYTES image;
    return pgmio_read_file(path, image, error) && decode(image, flash, error);
}

PGMIO_FLASH_FILE_STREAM::PGMIO_FLASH_FILE_STREAM(const std::string& path, const PGMIO_FLASH_IMAGE& flash,
                                                 std::vector<PGMIO_FLASH_EXTENT> blocks)
    : m_flash(flash), m_blocks(std::move(blocks)),
      m_out(path, flash.jic ? PGMIO_KIND_JIC : PGMIO_KIND_POF, uint32_t(3 + m_blocks.size() + (flash.jic ? 1 : 0)))
{
}

bool PGMIO_FLASH_FILE_STREAM::start(std::string& error)
{
    if (!PGMIO_FLASH_FILE::validate(m_flash, m_blocks, error))
        return false;
    for (const auto& [tag, data] : leading_sections(m_flash))
        m_out.add(tag, data);
    return true;
}

void PGMIO_FLASH_FILE_STREAM::append(std::span<const uint8_t> data)
{
    while (!data.empty())
    {
        if (m_block == m_blocks.size())
        {
            m_overflow = true;
            return;
        }
        const PGMIO_FLASH_EXTENT& block = m_blocks[m_block];
        if (m_written == 0)
        {
            m_out.begin(k_block);
            m_out.append(block_address(block.address));
        }
        const size_t piece = size_t(std::min<uint64_t>(data.size(), block.size - m_written));
        m_out.append(data.first(piece));
        data = data.subspan(piece);
        m_written += piece;
        if (m_written == block.size)
            ++m_block, m_written = 0;
    }
}

bool PGMIO_FLASH_FILE_STREAM::finish(std::string& error)
{
    if (m_overflow || m_block != m_blocks.size())
    {
        error = "the flash data blocks received " + std::string(m_overflow ? "more" : "fewer") +
                " bytes than their sizes announced";
        return false;
    }
    if (m_flash.jic)
        m_out.add(k_loader, loader_section(m_flash));
    return m_out.finish(error);
}
