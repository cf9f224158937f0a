// SPDX-License-Identifier: Apache-2.0
// Programmer object and JTAG indirect configuration files built from the flash layout. The first
// directory record becomes the option bits; every other content is a data block.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"

namespace
{

// The flash loader image of a device, synthesised by the assembler from the catalogue's entry
// (its size; the seed is the CRC of its name, so the same loader always has the same bytes).
bool loader_image(const std::string& name, std::string& loader_device, PGMIO_BYTES& image, std::string& error)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(name));
    const DEV_DEVICE_RECORD* record = device ? device->get_fpga_record() : nullptr;
    if (!record || !record->has_flash_loader)
    {
        error = "device '" + name + "' has no flash loader in the catalogue";
        return false;
    }
    BITASM_OPTIONS options;
    options.design_name = record->flash_loader.name;
    options.size = std::max<uint64_t>(record->flash_loader.size, BITASM_MIN_CONFIG_SIZE);
    const std::string& loader = record->flash_loader.name;
    options.seed = pgmio_crc32(std::span(reinterpret_cast<const uint8_t*>(loader.data()), loader.size()));
    PGMIO_CONFIG_DATA config;
    loader_device = device->get_name();
    return BITASM_MGR::assemble_configuration_data(*device, options, config, error) &&
           PGMIO_RBF::encode(config, image, error);
}

} // namespace

bool pgmconv_write_flash_file(const PGMIO_CCF::STATE& state, const PGMCONV_LAYOUT& layout, bool jic,
                              const std::string& path, std::string& error)
{
    PGMIO_FLASH_IMAGE flash;
    flash.jic = jic;
    flash.flash_device = layout.flash_device;
    flash.flash_size = layout.flash_size;
    flash.fpga_device = layout.fpga->get_name();
    flash.idcode = layout.fpga->get_fpga_record()->jtag.idcode;
    flash.design_flags = layout.design_flags;
    flash.flags = layout.remote_update ? PGMIO_FLASH_REMOTE_UPDATE : 0;
    // The first directory record is the option bits; every other content a block, streamed.
    const PGMCONV_ITEM* option_bits = nullptr;
    std::vector<PGMIO_FLASH_EXTENT> blocks;
    for (const PGMCONV_ITEM& item : layout.items)
    {
        if (item.kind == PGMCONV_ITEM_PAGE)
            flash.pages.push_back({item.name, item.start, item.end});
        if (item.size == 0)
            continue;
        if (item.kind == PGMCONV_ITEM_DIRECTORY && !option_bits)
            option_bits = &item;
        else
            blocks.push_back({item.data_start, item.size});
    }
    if (option_bits)
    {
        flash.option_bits_address = option_bits->data_start;
        if (!pgmconv_item_bytes(state, layout, *option_bits, flash.option_bits, error))
            return false;
    }
    if (jic)
    {
        const std::string loader = state.helper_device.empty() ? flash.fpga_device : state.helper_device;
        if (!loader_image(loader, flash.loader_device, flash.loader_image, error))
            return false;
    }
    PGMIO_FLASH_FILE_STREAM out(path, flash, std::move(blocks));
    return out.start(error) &&
           pgmconv_walk_layout(
               state, layout,
               [&](const PGMCONV_ITEM& item, uint64_t, std::span<const uint8_t> bytes)
               {
                   if (&item != option_bits)
                       out.append(bytes);
                   return true;
               },
               error) &&
           out.finish(error);
}
