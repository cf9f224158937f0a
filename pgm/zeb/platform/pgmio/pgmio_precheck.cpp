// SPDX-License-Identifier: Apache-2.0
// Prechecks of object files and raw binary files against the device catalogue.
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

#include "pgm/zeb/platform/pgmio/pgmio.h"
#include "pgm/zeb/platform/pgmio/pgmio_info.h"

namespace
{

// The FPGA device of a name, or nullptr with the reason.
const PGM_DEVICE* find_fpga(const std::string& name, std::string& error)
{
    std::string reason;
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(name), &reason);
    if (!device)
    {
        error = "device '" + name + "' is not in the device catalogue" + (reason.empty() ? "" : " (" + reason + ")");
        return nullptr;
    }
    if (!device->get_fpga_record())
    {
        error = "'" + name + "' is a flash device, not an FPGA";
        return nullptr;
    }
    return device;
}

bool check_idcode(const PGM_DEVICE& device, uint32_t idcode, std::string& error)
{
    const uint32_t expected = device.get_fpga_record()->jtag.idcode;
    if (idcode != expected)
    {
        error = "IDCODE " + pgmio_hex_number(idcode) + " of the file does not match device '" + device.get_name() +
                "' (" + pgmio_hex_number(expected) + ")";
        return false;
    }
    return true;
}

bool check_design_flags(const PGM_DEVICE& device, uint32_t flags, std::string& error)
{
    const DEV_CAPABILITIES& capabilities = device.get_fpga_record()->capabilities;
    const char* missing = nullptr;
    if ((flags & PGMIO_DESIGN_CVP) && !capabilities.cvp)
        missing = "configuration via PCI Express";
    else if ((flags & PGMIO_DESIGN_HPS) && !capabilities.hps)
        missing = "a hard processor system";
    else if ((flags & PGMIO_DESIGN_PR) && !capabilities.partial_reconfiguration)
        missing = "partial reconfiguration";
    if (missing)
    {
        error = "the design uses " + std::string(missing) + ", which device '" + device.get_name() + "' does not have";
        return false;
    }
    return true;
}

bool check_config_data(const PGM_DEVICE& device, const PGMIO_CONFIG_DATA& config, std::string& error)
{
    if (!check_idcode(device, config.idcode, error) || !check_design_flags(device, config.flags, error))
        return false;
    const uint64_t capacity = device.get_fpga_record()->config_data_size;
    // Compressed data says nothing about the device's capacity.
    if (config.compression == 0 && capacity != 0 && config.payload_size() > capacity)
    {
        error = "the configuration data has " + std::to_string(config.payload_size()) + " bytes, device '" +
                device.get_name() + "' holds at most " + std::to_string(capacity);
        return false;
    }
    return true;
}

bool check_region(const PGM_DEVICE& device, uint64_t offset, uint64_t size, std::string& error)
{
    if (!check_design_flags(device, PGMIO_DESIGN_PR, error))
        return false;
    const uint64_t capacity = device.get_fpga_record()->config_data_size;
    if (capacity != 0 && (offset >= capacity || size > capacity - offset))
    {
        error = "region (" + pgmio_hex_number(offset) + ".." + pgmio_hex_number(offset + size - 1) +
                ") lies outside the configuration data of device '" + device.get_name() + "' (0x00000000.." +
                pgmio_hex_number(capacity - 1) + ")";
        return false;
    }
    return true;
}

bool check_flash(const PGMIO_FLASH_IMAGE& flash, const PGM_DEVICE& fpga, std::string& error)
{
    if (!check_idcode(fpga, flash.idcode, error) || !check_design_flags(fpga, flash.design_flags, error))
        return false;
    if ((flash.flags & PGMIO_FLASH_REMOTE_UPDATE) && !fpga.get_fpga_record()->capabilities.remote_update)
    {
        error = "the file is laid out for remote update, which device '" + fpga.get_name() + "' does not support";
        return false;
    }
    const GFPDB_QSPI_MGR flash_db;
    const DEV_FLASH_RECORD* record = flash_db.find_device(flash.flash_device);
    if (record)
    {
        if (record->size != flash.flash_size)
        {
            error = "the file is laid out for " + std::to_string(flash.flash_size) + " bytes of flash, flash device '" +
                    flash.flash_device + "' has " + std::to_string(record->size);
            return false;
        }
    }
    else if (!PGM_DEVICE_INDEX::lookup_device(std::string_view(flash.flash_device)))
    {
        error = "flash device '" + flash.flash_device +
                "' is in neither the flash-device database nor the device "
                "catalogue";
        return false;
    }
    if (flash.jic)
    {
        std::string reason;
        if (!find_fpga(flash.loader_device, reason))
        {
            error = "flash loader: " + reason;
            return false;
        }
    }
    return true;
}

void fill_device_info(const PGM_DEVICE& device, PGMIO_PRECHECK_INFO& info)
{
    info.device_name = device.get_name();
    info.remote_update = device.get_fpga_record()->capabilities.remote_update;
}

} // namespace

const PGM_DEVICE* PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(uint32_t idcode)
{
    for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        if (device->get_fpga_record() && device->get_fpga_record()->jtag.idcode == idcode)
            return device;
    return nullptr;
}

bool PGMIO_POFIO_UTIL_EXPORT::precheck_object_file(const FIO_PATH& path, const PGM_DEVICE** device,
                                                   PGMIO_PRECHECK_INFO* info, std::string& error)
{
    if (device)
        *device = nullptr;
    PGMIO_PRECHECK_INFO found;
    const FIO_EXTENSION_TYPE extension = path.get_extension_type();
    if (extension != FIO_EXTENSION_TYPE_SOF && extension != FIO_EXTENSION_TYPE_POF &&
        extension != FIO_EXTENSION_TYPE_JIC && extension != FIO_EXTENSION_TYPE_MSF &&
        extension != FIO_EXTENSION_TYPE_PMSF)
    {
        error = "file '" + path.get_file_name() +
                "' does not have an object file extension (.sof, .pof, .jic, .msf, .pmsf)";
        return false;
    }
    PGMIO_BYTES image;
    if (!pgmio_read_file(path.get_full_path(), image, error))
        return false;

    const PGM_DEVICE* target = nullptr;
    switch (extension)
    {
    case FIO_EXTENSION_TYPE_SOF:
    {
        PGMIO_SOF_IMAGE sof;
        if (!PGMIO_SOF::decode(image, sof, error) || !(target = find_fpga(sof.device_name, error)) ||
            !check_config_data(*target, sof.config, error))
            return false;
        found.kind = PGMIO_KIND_SOF;
        found.idcode = sof.config.idcode;
        found.design_flags = sof.flags;
        found.has_bootloader = sof.has_bootloader;
        found.config_data_size = sof.config.payload_size();
        break;
    }
    case FIO_EXTENSION_TYPE_POF:
    case FIO_EXTENSION_TYPE_JIC:
    {
        PGMIO_FLASH_IMAGE flash;
        if (!PGMIO_FLASH_FILE::decode(image, flash, error))
            return false;
        if (flash.jic != (extension == FIO_EXTENSION_TYPE_JIC))
        {
            error = std::string("the file holds a ") +
                    (flash.jic ? "JTAG indirect configuration file" : "programmer object file") +
                    " but its extension is ." + path.get_extension();
            return false;
        }
        if (!(target = find_fpga(flash.fpga_device, error)) || !check_flash(flash, *target, error))
            return false;
        // Flash content with directory records is walked, as the integrity check walks it.
        if (std::string damaged = pgmio_check_image(image, extension, path.get_file_name()); !damaged.empty())
        {
            error = std::move(damaged);
            return false;
        }
        found.kind = flash.jic ? PGMIO_KIND_JIC : PGMIO_KIND_POF;
        found.idcode = flash.idcode;
        found.design_flags = flash.design_flags;
        found.flash_device = flash.flash_device;
        found.flash_flags = flash.flags;
        break;
    }
    case FIO_EXTENSION_TYPE_MSF:
    {
        PGMIO_MSF_IMAGE msf;
        if (!PGMIO_MSF::decode(image, msf, error) || !(target = find_fpga(msf.device_name, error)) ||
            !check_region(*target, msf.region_offset, msf.mask.size(), error))
            return false;
        found.kind = PGMIO_KIND_MSF;
        found.design_flags = PGMIO_DESIGN_PR;
        break;
    }
    default:
    {
        PGMIO_PMSF_IMAGE pmsf;
        if (!PGMIO_PMSF::decode(image, pmsf, error) || !(target = find_fpga(pmsf.device_name, error)) ||
            !check_region(*target, pmsf.region_offset, pmsf.data.size(), error))
            return false;
        found.kind = PGMIO_KIND_PMSF;
        found.design_flags = PGMIO_DESIGN_PR;
        found.config_data_size = pmsf.data.size();
        break;
    }
    }
    fill_device_info(*target, found);
    if (device)
        *device = target;
    if (info)
        *info = found;
    return true;
}

bool PGMIO_POFIO_UTIL_EXPORT::precheck_raw_binary_file(const FIO_PATH& path, const PGM_DEVICE** device,
                                                       PGMIO_PRECHECK_INFO* info, std::string& error)
{
    if (device)
        *device = nullptr;
    PGMIO_CONFIG_DATA config;
    if (!PGMIO_RBF::read(path.get_full_path(), config, error))
        return false;
    const PGM_DEVICE* target = find_device_by_idcode(config.idcode);
    if (!target)
    {
        error = "no device of the catalogue has IDCODE " + pgmio_hex_number(config.idcode);
        return false;
    }
    if (!check_config_data(*target, config, error))
        return false;
    PGMIO_PRECHECK_INFO found;
    found.kind = PGMIO_KIND_RBF;
    found.idcode = config.idcode;
    found.design_flags = config.flags;
    found.config_data_size = config.payload_size();
    fill_device_info(*target, found);
    if (device)
        *device = target;
    if (info)
        *info = found;
    return true;
}
