// SPDX-License-Identifier: Apache-2.0
// The conversion setup: every setter stores into the state that the writers read.
#include "pgm/zeb/platform/msg/msg.h"
#include "pgm/zeb/platform/pgmconv/pgmconv_state.h"

namespace
{
constexpr const char* k_module = "PGMCONV";
constexpr const char* k_source = "pgm/zeb/platform/pgmconv/pgmconv_ccf";
} // namespace

void PGMIO_FILE_OPTIONS::set_svf_options(int operation, int voltage, long frequency, bool flag_a, bool flag_b)
{
    svf_operation = operation;
    svf_voltage = voltage;
    svf_frequency = frequency;
    svf_flag_a = flag_a;
    svf_flag_b = flag_b;
}

PGMIO_CCF_PAGE& PGMIO_CCF::STATE::page(uint32_t index)
{
    MSG_ASSERT_AT(index < (1u << 16), k_module, k_source);
    while (pages.size() <= index)
    {
        pages.emplace_back();
        pages.back().number = uint32_t(pages.size() - 1);
    }
    return pages[index];
}

PGMIO_CCF::PGMIO_CCF(const std::string& name, const std::string& comment, PGMIO_FILE_OPTIONS* options,
                     uint32_t devices_per_chain, uint32_t first_page, bool big_endian, double tck_mhz,
                     double wait_scale, bool compress_player_data, bool verify_outputs)
    : m_state(std::make_unique<STATE>())
{
    MSG_ASSERT_AT(options != nullptr, k_module, k_source);
    STATE& s = *m_state;
    s.name = name;
    s.comment = comment;
    s.options.reset(options);
    s.devices_per_chain = devices_per_chain;
    s.first_page = first_page;
    s.big_endian = big_endian;
    s.tck_mhz = tck_mhz;
    s.wait_scale = wait_scale;
    s.compress_player_data = compress_player_data;
    s.verify_outputs = verify_outputs;
}

PGMIO_CCF::~PGMIO_CCF() = default;

const std::string& PGMIO_CCF::get_error() const
{
    return m_state->error;
}
const PGMIO_CCF::STATE& PGMIO_CCF::state() const
{
    return *m_state;
}

void PGMIO_CCF::set_passive_prog_mode(PGMIO_CONFIG_SCHEME scheme)
{
    m_state->scheme = scheme;
}
PGMIO_CONFIG_SCHEME PGMIO_CCF::get_passive_prog_mode() const
{
    return m_state->scheme;
}
void PGMIO_CCF::set_output_file(const FIO_PATH* path)
{
    m_state->output_file = path ? *path : FIO_PATH();
}
FIO_PATH PGMIO_CCF::get_output_file() const
{
    return m_state->output_file;
}
PGMIO_FILE_OPTIONS* PGMIO_CCF::get_file_options()
{
    return m_state->options.get();
}
void PGMIO_CCF::set_no_bit_swap(bool no_bit_swap)
{
    m_state->no_bit_swap = no_bit_swap;
}
void PGMIO_CCF::set_jic_output(bool jic)
{
    m_state->jic_output = jic;
}
void PGMIO_CCF::set_mem_map_output(bool map)
{
    m_state->mem_map = map;
}
void PGMIO_CCF::set_mem_map_file_path(const FIO_PATH& path)
{
    m_state->mem_map_path = path;
}
void PGMIO_CCF::set_auto_create_rpd_output(bool rpd)
{
    m_state->auto_rpd = rpd;
}
void PGMIO_CCF::set_auto_create_rpd_path(const FIO_PATH& path)
{
    m_state->auto_rpd_path = path;
}
void PGMIO_CCF::set_helper_image_output(bool helper)
{
    m_state->helper_output = helper;
}
void PGMIO_CCF::set_hlpr_file(const FIO_PATH* path)
{
    m_state->helper_file = path ? *path : FIO_PATH();
    if (path)
        m_state->helper_output = true;
}
void PGMIO_CCF::set_hlpr_device(const std::string& name)
{
    m_state->helper_device = name;
}
void PGMIO_CCF::set_progress(PROGRESS progress)
{
    m_state->progress = std::move(progress);
}

void PGMIO_CCF::set_gen_kpf(bool generate, uint32_t page, uint32_t, uint32_t device)
{
    m_state->gen_kpf = generate;
    m_state->kpf_page = page;
    m_state->kpf_device = device;
}

void PGMIO_CCF::set_device(const std::string& name)
{
    m_state->flash_device = name;
}
void PGMIO_CCF::set_dev_options(std::unique_ptr<DSET_ZB_DEV_OPTIONS_INFO> options)
{
    m_state->dev_options = std::move(options);
}
void PGMIO_CCF::set_width(uint32_t width)
{
    m_state->width = width;
}

uint32_t PGMIO_CCF::get_n_pages() const
{
    return uint32_t(m_state->pages.size());
}
void PGMIO_CCF::set_n_pages(uint32_t count)
{
    if (count > m_state->pages.size())
        m_state->page(count - 1);
    else
        m_state->pages.resize(count);
}
void PGMIO_CCF::set_page(uint32_t page)
{
    m_state->current_page = page;
}

bool PGMIO_CCF::add_sof_file(const FIO_PATH& path, uint32_t device_index, uint32_t page, uint32_t)
{
    STATE& s = *m_state;
    if (page == PGMIO_CCF_AUTO)
        page = uint32_t(s.pages.size());
    switch (path.get_extension_type())
    {
    case FIO_EXTENSION_TYPE_SOF:
    case FIO_EXTENSION_TYPE_POF:
    case FIO_EXTENSION_TYPE_JIC:
    case FIO_EXTENSION_TYPE_RBF:
        break;
    default:
        s.error = "'" + path.get_full_path() + "' is not a configuration image (.sof, .pof, .jic or .rbf)";
        return false;
    }
    if (!FIO_FILE_SYSTEM::exists(path))
    {
        s.error = "configuration image '" + path.get_full_path() + "' does not exist";
        return false;
    }
    PGMIO_CCF_PAGE& target = s.page(page);
    if (!target.input.is_empty() && !(target.input == path))
    {
        s.error = "page " + std::to_string(page) + " already holds '" + target.input.get_full_path() + "'";
        return false;
    }
    target.input = path;
    target.device_index = device_index;
    return true;
}

bool PGMIO_CCF::add_pr_sof_file(const FIO_PATH& path, uint32_t page, PGMIO_ADDR_SCHEME mode, uint32_t start,
                                uint32_t end)
{
    STATE& s = *m_state;
    if (path.get_extension_type() != FIO_EXTENSION_TYPE_PMSF)
    {
        s.error = "'" + path.get_full_path() + "' is not a partial-masked SRAM object file (.pmsf)";
        return false;
    }
    if (page == PGMIO_CCF_AUTO)
        page = s.current_page;
    s.page(page).pr_inputs.push_back({path, mode, start, end});
    return true;
}

void PGMIO_CCF::set_page_number(uint32_t page, uint32_t number)
{
    m_state->page(page).number = number;
}
void PGMIO_CCF::set_page_user_name(const std::string& name, uint32_t page)
{
    m_state->page(page).user_name = name;
}
void PGMIO_CCF::set_addr_scheme(uint32_t page, PGMIO_ADDR_SCHEME scheme)
{
    m_state->page(page).scheme = scheme;
}
void PGMIO_CCF::set_start_address(uint32_t address, uint32_t page)
{
    m_state->page(page).start = address;
}
void PGMIO_CCF::set_end_address(uint32_t address, uint32_t page)
{
    m_state->page(page).end = address;
}
void PGMIO_CCF::set_requested_extra_space(uint32_t bytes, uint32_t page)
{
    m_state->page(page).extra_space = bytes;
}
void PGMIO_CCF::set_page_table(uint32_t page, uint32_t table)
{
    m_state->page(page).table = table;
}
void PGMIO_CCF::set_fw_source(const FIO_PATH& path, uint32_t page)
{
    m_state->page(page).fw_source = path;
}
void PGMIO_CCF::set_security_settings(const PGMIO_SECURITY_SETTINGS& settings, uint32_t page)
{
    m_state->page(page).security = settings;
}
const PGMIO_SECURITY_SETTINGS& PGMIO_CCF::get_security_settings(uint32_t page) const
{
    static const PGMIO_SECURITY_SETTINGS none;
    return page < m_state->pages.size() ? m_state->pages[page].security : none;
}

bool PGMIO_CCF::add_partition(uint32_t page, const std::string& name, PGMIO_ADDR_SCHEME mode, uint32_t start,
                              uint32_t end, uint32_t size)
{
    STATE& s = *m_state;
    if (name.empty())
    {
        s.error = "a partition needs a name";
        return false;
    }
    for (const PGMIO_CCF_PARTITION& partition : s.partitions)
        if (partition.name == name)
        {
            s.error = "partition '" + name + "' is given twice";
            return false;
        }
    PGMIO_CCF_PARTITION partition;
    partition.page = page;
    partition.name = name;
    partition.scheme = mode;
    partition.start = mode == PGMIO_ADDR_AUTO ? PGMIO_CCF_AUTO : start;
    partition.end = mode == PGMIO_ADDR_FIXED ? end : PGMIO_CCF_AUTO;
    partition.size = size;
    s.partitions.push_back(partition);
    return true;
}

namespace
{
bool add_raw(PGMIO_CCF::STATE& s, const HEX_FILE* record, uint32_t page, uint32_t address, bool hex)
{
    if (!record || record->path.is_empty())
    {
        s.error = "a raw data file needs a path";
        return false;
    }
    if (!FIO_FILE_SYSTEM::exists(record->path) || FIO_FILE_SYSTEM::is_directory(record->path))
    {
        s.error = "raw data file '" + record->path.get_full_path() + "' does not exist";
        return false;
    }
    s.raw_files.push_back({*record, hex, page, address});
    return true;
}
} // namespace

bool PGMIO_CCF::add_hex_file(const HEX_FILE* record, uint32_t page, uint32_t address)
{
    return add_raw(*m_state, record, page, address, true);
}
bool PGMIO_CCF::add_rbf_file(const HEX_FILE* record, uint32_t page, uint32_t address)
{
    return add_raw(*m_state, record, page, address, false);
}
void PGMIO_CCF::set_options_area(bool enabled)
{
    m_state->options_area = enabled;
}
void PGMIO_CCF::set_options_start_address(uint32_t address)
{
    m_state->options_start = address;
}
void PGMIO_CCF::set_boot_info_input(const FIO_PATH& path)
{
    m_state->boot_info_input = path;
}

bool PGMIO_CCF::add_chain_element(PGM_CHAIN_ELEMENT* element, uint32_t page, uint32_t index, uint32_t device)
{
    STATE& s = *m_state;
    if (!element)
    {
        s.error = "no chain element given";
        return false;
    }
    s.owned_elements.emplace_back(element);
    if (page == PGMIO_CCF_AUTO)
        page = s.current_page;
    std::vector<PGM_CHAIN_ELEMENT*>& chain = s.chains[{page, index}];
    if (device == PGMIO_CCF_AUTO || device >= chain.size())
        chain.push_back(element);
    else
        chain.insert(chain.begin() + device, element);
    return true;
}
std::vector<PGM_CHAIN_ELEMENT*>& PGMIO_CCF::get_device_chain(uint32_t page, uint32_t index)
{
    return m_state->chains[{page, index}];
}
void PGMIO_CCF::set_cvp(bool cvp)
{
    m_state->cvp = cvp;
}
void PGMIO_CCF::set_hps_iocsr(bool hps_iocsr)
{
    m_state->hps_iocsr = hps_iocsr;
}
