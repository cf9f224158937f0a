// SPDX-License-Identifier: Apache-2.0
// The device database built over the catalogue: device objects, look-ups by number, name and
// family, PCF records and the configuration-flash information records.
#include "pgm/zeb/platform/dev/dev.h"
#include "pgm/zeb/platform/dev/dev_catalogue.h"
#include "pgm/zeb/platform/fio/fio.h"
#include "pgm/zeb/platform/msg/msg.h"

#include <algorithm>

namespace
{

// Everything derived from the catalogue, built once on first use (a function-local static, so the
// first use from several threads is safe) and never changed afterwards.
class INDEX
{
public:
    INDEX()
    {
        if (!dev_read_catalogue(fio_get_data_directory(), m_catalogue, m_error))
        {
            msg_local_vdebug("DEV", 1, "device catalogue not loaded: %s", m_error.c_str());
            m_catalogue = DEV_CATALOGUE();
        }
        for (const DEV_DEVICE_RECORD& record : m_catalogue.devices)
            m_devices.push_back(std::make_unique<PGM_DEVICE>(&record));
        for (const DEV_FLASH_RECORD& record : m_catalogue.flash_devices)
            m_devices.push_back(std::make_unique<PGM_DEVICE>(&record));
        for (const auto& device : m_devices)
        {
            m_all.push_back(device.get());
            PGMDEV_DEV_INFO info;
            info.family = device->get_family();
            info.device = device->get_device();
            if (const DEV_DEVICE_RECORD* fpga = device->get_fpga_record())
            {
                info.has_cmf_flash_block_layout = fpga->has_cmf_flash_block_layout;
                info.cmf_flash_block_size = fpga->cmf_flash_block_size;
            }
            m_device_info.push_back(info);
            // The catalogue guarantees that all devices of a family share the layout, so the
            // first device stands for its family.
            if (std::none_of(m_family_info.begin(), m_family_info.end(),
                             [&](const PGMDEV_DEV_INFO& f) { return f.family == info.family; }))
                m_family_info.push_back(info);
        }
    }

    const DEV_CATALOGUE& catalogue() const { return m_catalogue; }
    const std::string& error() const { return m_error; }
    const std::vector<const PGM_DEVICE*>& all() const { return m_all; }
    const std::vector<PGMDEV_DEV_INFO>& device_info() const { return m_device_info; }
    const std::vector<PGMDEV_DEV_INFO>& family_info() const { return m_family_info; }

private:
    DEV_CATALOGUE m_catalogue;
    std::string m_error;
    std::vector<std::unique_ptr<PGM_DEVICE>> m_devices;
    std::vector<const PGM_DEVICE*> m_all;
    std::vector<PGMDEV_DEV_INFO> m_device_info; // parallel to m_all
    std::vector<PGMDEV_DEV_INFO> m_family_info;
};

const INDEX& get_index()
{
    static const INDEX index;
    return index;
}

const std::string k_no_name;

} // namespace

const DEV_CATALOGUE& dev_get_catalogue()
{
    return get_index().catalogue();
}

const std::string& dev_get_catalogue_error()
{
    return get_index().error();
}

// ---- Records -----------------------------------------------------------------------------------

bool DEV_JTAG_INFO::find_instruction(std::string_view name, uint32_t& code) const
{
    for (const DEV_COMMAND& instruction : instructions)
    {
        if (instruction.name == name)
        {
            code = instruction.code;
            return true;
        }
    }
    return false;
}

bool DEV_DEVICE_RECORD::supports_config_scheme(PGMIO_CONFIG_SCHEME scheme) const
{
    return std::find(config_schemes.begin(), config_schemes.end(), scheme) != config_schemes.end();
}

const DEV_HELPER_IMAGE* DEV_DEVICE_RECORD::find_helper_image(uint32_t subtype) const
{
    for (const DEV_HELPER_IMAGE& image : helper_images)
        if (image.subtype == subtype)
            return &image;
    return nullptr;
}

PGM_PCF_CONTAINER::PGM_PCF_CONTAINER(const std::vector<PGM_PCF_FILE_INFO>& records)
{
    for (const PGM_PCF_FILE_INFO& record : records)
    {
        auto group = std::find_if(m_by_name.begin(), m_by_name.end(),
                                  [&](const auto& list) { return list.front().pcf_name == record.pcf_name; });
        if (group == m_by_name.end())
            m_by_name.push_back({record});
        else
            group->push_back(record);
    }
}

const std::vector<PGM_PCF_FILE_INFO>* PGM_PCF_CONTAINER::get_pcf_file_info(std::string_view pcf_name) const
{
    for (const auto& list : m_by_name)
        if (list.front().pcf_name == pcf_name)
            return &list;
    return nullptr;
}

// ---- Device objects ----------------------------------------------------------------------------

PGM_DEVICE::PGM_DEVICE(const DEV_DEVICE_RECORD* fpga) : m_fpga(fpga)
{
    MSG_ASSERT_AT(fpga != nullptr, "DEV", "pgm/zeb/platform/dev/dev_index");
    m_pcf = std::make_shared<const PGM_PCF_CONTAINER>(std::vector<PGM_PCF_FILE_INFO>{fpga->pcf});
}

PGM_DEVICE::PGM_DEVICE(const DEV_FLASH_RECORD* flash) : m_flash(flash)
{
    MSG_ASSERT_AT(flash != nullptr, "DEV", "pgm/zeb/platform/dev/dev_index");
    if (flash->has_pcf)
        m_pcf = std::make_shared<const PGM_PCF_CONTAINER>(std::vector<PGM_PCF_FILE_INFO>{flash->pcf});
}

const std::string& PGM_DEVICE::get_name() const
{
    return m_fpga ? m_fpga->name : m_flash->name;
}

DEV_FAMILY_ENUM PGM_DEVICE::get_family() const
{
    return m_fpga ? m_fpga->family : m_flash->family;
}

DEV_DEVICE_ENUM PGM_DEVICE::get_device() const
{
    return m_fpga ? m_fpga->device : m_flash->device;
}

const std::string& PGM_DEVICE::get_pcf_name() const
{
    if (m_fpga)
        return m_fpga->pcf.pcf_name;
    return m_flash->has_pcf ? m_flash->pcf.pcf_name : k_no_name;
}

// ---- The index ---------------------------------------------------------------------------------

const PGM_DEVICE* PGM_DEVICE_INDEX::lookup_device(DEV_DEVICE_ENUM device)
{
    if (device == DEV_DEVICE_INVALID)
        return nullptr;
    for (const PGM_DEVICE* candidate : get_index().all())
        if (candidate->get_device() == device)
            return candidate;
    return nullptr;
}

const PGM_DEVICE* PGM_DEVICE_INDEX::lookup_device(std::string_view name, std::string* error)
{
    for (const PGM_DEVICE* candidate : get_index().all())
        if (candidate->get_name() == name)
            return candidate;
    if (error)
    {
        *error = get_index().error().empty() ? "the device catalogue has no device named '" + std::string(name) + "'"
                                             : get_index().error();
    }
    return nullptr;
}

const PGM_DEVICE* PGM_DEVICE_INDEX::get_first_device_of_family(DEV_FAMILY_ENUM family)
{
    for (const PGM_DEVICE* candidate : get_index().all())
        if (candidate->get_family() == family)
            return candidate;
    return nullptr;
}

std::unique_ptr<PGM_DEVICE> PGM_DEVICE_INDEX::create_new_asc_device(std::string_view name)
{
    const GFPDB_QSPI_MGR flash_db;
    if (const DEV_FLASH_RECORD* flash = flash_db.find_device(name))
        return std::make_unique<PGM_DEVICE>(flash);
    if (const PGM_DEVICE* device = lookup_device(name))
        return std::make_unique<PGM_DEVICE>(*device);
    return nullptr;
}

const std::vector<const PGM_DEVICE*>& PGM_DEVICE_INDEX::get_all_devices()
{
    return get_index().all();
}

const std::vector<DEV_FAMILY_RECORD>& PGM_DEVICE_INDEX::get_families()
{
    return get_index().catalogue().families;
}

const DEV_FAMILY_RECORD* PGM_DEVICE_INDEX::find_family(DEV_FAMILY_ENUM family)
{
    for (const DEV_FAMILY_RECORD& record : get_families())
        if (record.family == family)
            return &record;
    return nullptr;
}

const std::string& PGM_DEVICE_INDEX::get_catalogue_error()
{
    return get_index().error();
}

bool PGM_DEVICE_INDEX::check_catalogue(const std::string& data_directory, std::string& error)
{
    DEV_CATALOGUE catalogue;
    return dev_read_catalogue(data_directory, catalogue, error);
}

// ---- Configuration-flash information -----------------------------------------------------------

const PGMDEV_DEV_INFO* PGMDEV_DEV_INFO_MANAGER::get_db_by_device(DEV_DEVICE_ENUM device) const
{
    if (device == DEV_DEVICE_INVALID || (m_device != 0 && m_device != device))
        return nullptr;
    for (const PGMDEV_DEV_INFO& info : get_index().device_info())
        if (info.device == device)
            return m_family != 0 && m_family != info.family ? nullptr : &info;
    return nullptr;
}

const PGMDEV_DEV_INFO* PGMDEV_DEV_INFO_MANAGER::get_db_by_family(DEV_FAMILY_ENUM family) const
{
    if (family == DEV_FAMILY_INVALID || (m_family != 0 && m_family != family))
        return nullptr;
    for (const PGMDEV_DEV_INFO& info : get_index().family_info())
        if (info.family == family)
            return &info;
    return nullptr;
}
