// SPDX-License-Identifier: Apache-2.0
// Chain elements: one device of a JTAG chain with the programming file and helper image it gets.
#include "pgm/zeb/platform/bitasm/bitasm.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_engine.h"
#include "pgm/zeb/platform/pgmio/pgmio_precheck.h"

namespace
{

struct HELPER_TYPE
{
    uint32_t helper_type; // argument of get_helper_filename
    uint32_t subtype;     // DEV_HELPER_SUBTYPE_*
};
constexpr HELPER_TYPE k_helper_types[] = {
    {0, DEV_HELPER_SUBTYPE_SDMMC},
    {2, DEV_HELPER_SUBTYPE_QSPI},
    {3, DEV_HELPER_SUBTYPE_FUSE},
};

// Where a catalogue helper image is looked for; when no file is there, the assembler makes it.
std::string helper_path(const std::string& name)
{
    return fio_get_data_directory() + "/helpers/" + name + ".rbf";
}

uint64_t name_seed(const std::string& name)
{
    return pgmio_crc32(std::span(reinterpret_cast<const uint8_t*>(name.data()), name.size()));
}

} // namespace

struct PGM_CHAIN_ELEMENT::IMPL
{
    const PGM_DEVICE* device = nullptr;
    FIO_PATH programming_file;
    FIO_PATH second_file;
    std::string fw_source;
    uint32_t helper_kind = 0;
    bool has_helper = false;
    PGMIO_HELPER_IMAGE helper;
    uint32_t design_flags = 0;
    std::string error;
};

PGM_CHAIN_ELEMENT::PGM_CHAIN_ELEMENT(const PGM_DEVICE* device) : m_impl(std::make_shared<IMPL>())
{
    m_impl->device = device;
}

const PGM_DEVICE* PGM_CHAIN_ELEMENT::get_device() const
{
    return m_impl->device;
}
void PGM_CHAIN_ELEMENT::set_programming_file(const FIO_PATH& path)
{
    m_impl->programming_file = path;
}
const FIO_PATH& PGM_CHAIN_ELEMENT::get_programming_file() const
{
    return m_impl->programming_file;
}
void PGM_CHAIN_ELEMENT::set_second_file(const FIO_PATH& path)
{
    m_impl->second_file = path;
}
const FIO_PATH& PGM_CHAIN_ELEMENT::get_second_file() const
{
    return m_impl->second_file;
}
void PGM_CHAIN_ELEMENT::set_fw_source(const std::string& path)
{
    m_impl->fw_source = path;
}
const std::string& PGM_CHAIN_ELEMENT::get_fw_source() const
{
    return m_impl->fw_source;
}
void PGM_CHAIN_ELEMENT::set_helper_kind(uint32_t kind)
{
    m_impl->helper_kind = kind;
}
uint32_t PGM_CHAIN_ELEMENT::get_helper_kind() const
{
    return m_impl->helper_kind;
}
const std::string& PGM_CHAIN_ELEMENT::error() const
{
    return m_impl->error;
}
const PGMIO_HELPER_IMAGE* PGM_CHAIN_ELEMENT::get_helper_image() const
{
    return m_impl->has_helper ? &m_impl->helper : nullptr;
}
uint32_t PGM_CHAIN_ELEMENT::get_design_flags() const
{
    return m_impl->design_flags;
}

void PGM_CHAIN_ELEMENT::set_cvp_pcie_enabled_flag(bool enabled)
{
    // The element takes part in a CvP conversion only when its design has CvP.
    if (enabled && (m_impl->design_flags & PGMIO_DESIGN_CVP))
        flags |= PGM_CHAIN_ELEMENT_CVP;
    else
        flags &= uint8_t(~PGM_CHAIN_ELEMENT_CVP);
}

bool PGM_CHAIN_ELEMENT::support_hps_iocsr(bool, bool* supported, bool) const
{
    const bool hps = (m_impl->design_flags & PGMIO_DESIGN_HPS) != 0;
    if (supported)
        *supported = hps;
    return hps;
}

bool PGM_CHAIN_ELEMENT::get_helper_filename(const PGM_DEVICE* device, FIO_PATH& path, bool, void*, uint32_t helper_type)
{
    path = FIO_PATH();
    const DEV_DEVICE_RECORD* record = device ? device->get_fpga_record() : nullptr;
    if (!record)
        return false;
    for (const HELPER_TYPE& entry : k_helper_types)
        if (entry.helper_type == helper_type)
            if (const DEV_HELPER_IMAGE* image = record->find_helper_image(entry.subtype))
            {
                path = FIO_PATH(helper_path(image->name));
                return true;
            }
    return false;
}

bool PGM_CHAIN_ELEMENT::setup_helper_image(const FIO_PATH& path)
{
    IMPL& impl = *m_impl;
    std::string& error = impl.error;
    if (FIO_FILE_SYSTEM::exists(path))
    {
        if (!PGMIO_HELPER::read(path.get_full_path(), impl.helper, error))
            return false;
    }
    else
    {
        // A catalogue helper image of the element's device, synthesised deterministically.
        const DEV_DEVICE_RECORD* record = impl.device ? impl.device->get_fpga_record() : nullptr;
        const DEV_HELPER_IMAGE* found = nullptr;
        if (record)
            for (const DEV_HELPER_IMAGE& image : record->helper_images)
                if (path.get_base_name() == image.name)
                    found = &image;
        if (!found)
        {
            error = "helper image '" + path.get_full_path() + "' does not exist and is no catalogue helper image of " +
                    (impl.device ? impl.device->get_name() : std::string("an unknown device"));
            return false;
        }
        if (!BITASM_MGR::assemble_helper_image(*impl.device, found->subtype, name_seed(found->name), impl.helper,
                                               error))
            return false;
    }
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(impl.helper.device_name));
    if (impl.device && device != impl.device)
    {
        error = "helper image '" + path.get_full_path() + "' is for " + impl.helper.device_name + ", not for " +
                impl.device->get_name();
        return false;
    }
    impl.device = device;
    impl.has_helper = true;
    return true;
}

bool PGM_CHAIN_ELEMENT::create_chain_element(PGM_CHAIN_ELEMENT* element, bool read_file, void*, bool check_device,
                                             uint32_t, bool, bool)
{
    PGM_CHAIN_ELEMENT& target = element ? *element : *this;
    IMPL& impl = *target.m_impl;
    std::string& error = impl.error;
    error.clear();
    if (!read_file)
        return impl.device != nullptr || (error = "the chain element has no device", false);
    const FIO_PATH& file = impl.programming_file;
    const std::string path = file.get_full_path();
    std::string device_name;
    switch (file.get_extension_type())
    {
    case FIO_EXTENSION_TYPE_SOF:
    {
        PGMIO_SOF_IMAGE sof;
        if (!PGMIO_SOF::read(path, sof, error))
            return false;
        device_name = sof.device_name;
        impl.design_flags = sof.flags;
        break;
    }
    case FIO_EXTENSION_TYPE_POF:
    case FIO_EXTENSION_TYPE_JIC:
    {
        PGMIO_FLASH_IMAGE flash;
        if (!PGMIO_FLASH_FILE::read(path, flash, error))
            return false;
        device_name = flash.fpga_device;
        impl.design_flags = flash.design_flags;
        break;
    }
    case FIO_EXTENSION_TYPE_EKP:
    {
        PGMIO_EKP_IMAGE ekp;
        if (!PGMIO_EKP::read(path, ekp, error))
            return false;
        device_name = ekp.device_name;
        break;
    }
    case FIO_EXTENSION_TYPE_RBF:
    {
        // A helper image, or configuration data whose IDCODE names the device.
        PGMIO_BYTES bytes;
        PGMIO_CONTAINER_VIEW view;
        if (!FIO_FILE_SYSTEM::exists(file) ||
            (pgmio_read_file(path, bytes, error) && pgmio_parse_container(bytes, view, error, false) &&
             view.kind == PGMIO_KIND_HLPR))
        {
            if (!target.setup_helper_image(file))
                return false;
            device_name = impl.helper.device_name;
            impl.design_flags = impl.helper.config.flags;
            break;
        }
        PGMIO_CONFIG_DATA config;
        if (!error.empty() || !PGMIO_RBF::decode(bytes, config, error))
            return error = "'" + path + "': " + error, false;
        const PGM_DEVICE* device = PGMIO_POFIO_UTIL_EXPORT::find_device_by_idcode(config.idcode);
        if (!device)
            return error =
                       "no catalogue device has the IDCODE " + pgmio_hex_number(config.idcode) + " of '" + path + "'",
                   false;
        device_name = device->get_name();
        impl.design_flags = config.flags;
        break;
    }
    case FIO_EXTENSION_TYPE_HKY:
    case FIO_EXTENSION_TYPE_HEK:
    case FIO_EXTENSION_TYPE_FUSE:
    {
        // Programmed through the helper image, which names the device.
        PGMIO_BYTES bytes;
        if (!impl.has_helper)
            return error = "'" + path + "' is programmed through a helper image, and none is set up", false;
        if (!pgmio_read_file(path, bytes, error))
            return false;
        if (bytes.empty())
            return error = "'" + path + "' is empty", false;
        device_name = impl.helper.device_name;
        break;
    }
    default:
        error = "'" + path + "' is not a programming file a chain element takes";
        return false;
    }
    const PGM_DEVICE* device = PGM_DEVICE_INDEX::lookup_device(std::string_view(device_name));
    if (!device)
        return error = "the device " + device_name + " of '" + path + "' is not in the catalogue", false;
    if (impl.device && check_device && impl.device != device)
        return error = "'" + path + "' is for " + device_name + ", the chain element for " + impl.device->get_name(),
               false;
    if (!impl.device)
        impl.device = device;
    if (impl.design_flags & PGMIO_DESIGN_CVP)
        target.flags |= PGM_CHAIN_ELEMENT_CVP;
    return true;
}
