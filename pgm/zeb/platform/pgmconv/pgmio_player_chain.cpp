// SPDX-License-Identifier: Apache-2.0
// The chains that player files are written for: devices of the catalogue with the programming
// files they receive, from a chain description file or given one by one.
#include "pgm/zeb/platform/pgmconv/pgmio_player.h"

#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include "pgm/zeb/platform/pgmio/pgmio_enums.h"
#include "pgm/zeb/platform/pgmio/pgmio_text.h"

namespace
{

const DEV_DEVICE_RECORD* find_by_idcode(uint32_t idcode)
{
    for (const PGM_DEVICE* device : PGM_DEVICE_INDEX::get_all_devices())
        if (device->get_fpga_record() && device->get_fpga_record()->jtag.idcode == idcode)
            return device->get_fpga_record();
    return nullptr;
}

// The catalogue device `name`; false with the reason when it is unknown or has no JTAG interface.
bool jtag_device(const std::string& name, const DEV_DEVICE_RECORD*& record, std::string& error)
{
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(name));
    if (!device)
    {
        error = "unknown device '" + name + "'";
        return false;
    }
    record = device->get_fpga_record();
    if (!record || record->jtag.ir_length == 0)
    {
        error = "device '" + name + "' has no JTAG interface of its own";
        return false;
    }
    return true;
}

// The payload of a programming file and the device it names ("" when it names only an IDCODE).
bool read_payload(const FIO_PATH& file, PGMIO_PLAYER_DEVICE& out, std::string& file_device, uint32_t& idcode,
                  std::string& error)
{
    const std::string& path = file.get_full_path();
    switch (file.get_extension_type())
    {
    case FIO_EXTENSION_TYPE_SOF:
    {
        PGMIO_SOF_IMAGE sof;
        if (!PGMIO_SOF::read(path, sof, error) || !PGMIO_RBF::encode(sof.config, out.config, error))
            return false;
        file_device = sof.device_name;
        out.payload = PGMIO_PLAYER_DEVICE::CONFIG;
        return true;
    }
    case FIO_EXTENSION_TYPE_RBF:
    {
        // Configuration data as it is, or a helper image's configuration data.
        PGMIO_BYTES bytes;
        PGMIO_CONFIG_DATA config;
        PGMIO_HELPER_IMAGE helper;
        std::string helper_error;
        if (!pgmio_read_file(path, bytes, error))
            return false;
        if (PGMIO_RBF::decode(bytes, config, error))
        {
            out.config = std::move(bytes);
            idcode = config.idcode;
        }
        else if (PGMIO_HELPER::decode(bytes, helper, helper_error))
        {
            if (!PGMIO_RBF::encode(helper.config, out.config, error))
                return false;
            file_device = helper.device_name;
        }
        else
            return false;
        out.payload = PGMIO_PLAYER_DEVICE::CONFIG;
        return true;
    }
    case FIO_EXTENSION_TYPE_JIC:
    {
        if (!PGMIO_FLASH_FILE::read(path, out.flash, error))
            return false;
        if (!out.flash.jic)
        {
            error = "not a JTAG indirect configuration file";
            return false;
        }
        out.flash_device = GFPDB_QSPI_MGR().find_device(out.flash.flash_device);
        if (!out.flash_device)
        {
            error = "unknown flash device '" + out.flash.flash_device + "'";
            return false;
        }
        out.config = out.flash.loader_image;
        file_device = out.flash.loader_device;
        out.payload = PGMIO_PLAYER_DEVICE::FLASH;
        return true;
    }
    case FIO_EXTENSION_TYPE_EKP:
        if (!PGMIO_EKP::read(path, out.keys, error))
            return false;
        file_device = out.keys.device_name;
        out.payload = PGMIO_PLAYER_DEVICE::KEYS;
        return true;
    default:
        error = "a player file cannot carry a ." + file.get_extension() + " file; give a .sof, .rbf, .jic or .ekp file";
        return false;
    }
}

bool is_helper_input(const FIO_PATH& file)
{
    const FIO_EXTENSION_TYPE type = file.get_extension_type();
    return type == FIO_EXTENSION_TYPE_HKY || type == FIO_EXTENSION_TYPE_HEK || type == FIO_EXTENSION_TYPE_FUSE;
}

// A key or fuse file goes through the device's flash helper image, which runs first.
bool read_helper_input(const std::string& device_name, const FIO_PATH& file, PGMIO_PLAYER_DEVICE& out,
                       std::string& error)
{
    if (device_name.empty())
        return error = "a key or fuse file needs the device named", false;
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(device_name));
    FIO_PATH helper;
    PGM_CHAIN_ELEMENT element(device);
    if (!jtag_device(device_name, out.device, error))
        return false;
    if (!PGM_CHAIN_ELEMENT::get_helper_filename(device, helper, false, nullptr, 2) || helper.is_empty())
        return error = "device '" + device_name + "' has no programming helper image", false;
    if (!element.setup_helper_image(helper) || !element.get_helper_image())
        return error = element.error(), false;
    if (!PGMIO_RBF::encode(element.get_helper_image()->config, out.config, error) ||
        !pgmio_read_file(file.get_full_path(), out.helper_input, error))
        return false;
    if (out.helper_input.empty())
        return error = "the file is empty", false;
    out.payload = PGMIO_PLAYER_DEVICE::HELPER;
    return true;
}

} // namespace

bool pgmio_player_load_device(const std::string& device_name, const FIO_PATH& file, uint32_t operation_mask,
                              PGMIO_PLAYER_DEVICE& device, std::string& error)
{
    device = {};
    device.operation_mask = operation_mask;
    device.source = file.get_file_name();
    std::string file_device;
    uint32_t idcode = 0;
    if (!FIO_FILE_SYSTEM::exists(file))
        error = "file not found";
    else if (is_helper_input(file))
    {
        if (read_helper_input(device_name, file, device, error))
            return true;
    }
    else if (read_payload(file, device, file_device, idcode, error))
    {
        const std::string& name = device_name.empty() ? file_device : device_name;
        if (!file_device.empty() && !device_name.empty() && file_device != device_name)
            error = "the file is for device " + file_device + ", not " + device_name;
        else if (name.empty())
        {
            if ((device.device = find_by_idcode(idcode)))
                return true;
            error = "no device of the catalogue has IDCODE " + pgmio_hex_number(idcode);
        }
        else if (jtag_device(name, device.device, error))
        {
            if (idcode == 0 || idcode == device.device->jtag.idcode)
                return true;
            error = "the file is for IDCODE " + pgmio_hex_number(idcode) + ", not for " + name;
        }
    }
    error = file.get_full_path() + ": " + error;
    return false;
}

bool pgmio_player_read_cdf(const FIO_PATH& path, PGMIO_PLAYER_CHAIN& chain, std::string& error)
{
    PGMIO_CDF_CHAIN cdf;
    chain.clear();
    if (!PGMIO_CDF::read(path, cdf, error))
        return false;
    for (const PGMIO_CDF_DEVICE& entry : cdf.devices)
    {
        uint32_t mask = 0;
        if (entry.actions & PGMIO_CDF_PROGRAM)
            mask |= PGMIO_PGM_OP_PROGRAM;
        if (entry.actions & PGMIO_CDF_VERIFY)
            mask |= PGMIO_PGM_OP_VERIFY;
        if (entry.actions & PGMIO_CDF_BLANK_CHECK)
            mask |= PGMIO_PGM_OP_BLANK_CHECK;
        PGMIO_PLAYER_DEVICE device;
        if (entry.file.empty() || mask == 0)
        {
            device.source = "BYPASS";
            if (!jtag_device(entry.device_name, device.device, error))
            {
                error = path.get_full_path() + ": " + error;
                return false;
            }
        }
        else if (!pgmio_player_load_device(entry.device_name, PGMIO_CDF::resolve_file(path, entry), mask, device,
                                           error))
            return false;
        chain.push_back(std::move(device));
    }
    return true;
}
