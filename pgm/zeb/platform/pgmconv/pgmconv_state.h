// SPDX-License-Identifier: Apache-2.0
// What a conversion setup holds, as the writers read it. Private to the programming-file engine:
// the setters of PGMIO_CCF fill it, the writers (pgmconv_*.cpp) and the key programming file
// writer read it through PGMIO_CCF::state().
#pragma once

#include "pgm/zeb/platform/pgmconv/pgmconv.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A partial-masked SRAM object file placed as a region of a page.
struct PGMIO_CCF_PR_INPUT
{
    FIO_PATH path;
    PGMIO_ADDR_SCHEME scheme = PGMIO_ADDR_AUTO;
    uint32_t start = PGMIO_CCF_AUTO;
    uint32_t end = PGMIO_CCF_AUTO;
};

// One page: a configuration image with its placement and security.
struct PGMIO_CCF_PAGE
{
    FIO_PATH input;            // .sof, .pof, .jic or .rbf; empty for a page without image
    uint32_t device_index = 0; // device of the chain the image is for
    uint32_t number = 0;       // page number the boot information and options record
    std::string user_name;     // partition name; "" names the page "Page_<number>"
    PGMIO_ADDR_SCHEME scheme = PGMIO_ADDR_AUTO;
    uint32_t start = PGMIO_CCF_AUTO; // first flash address (fixed schemes)
    uint32_t end = PGMIO_CCF_AUTO;   // last flash address (PGMIO_ADDR_FIXED)
    uint32_t extra_space = 0;        // bytes kept free after the image ("auto" end)
    uint32_t table = 0;              // sub-partition table entry the page is listed in
    FIO_PATH fw_source;              // firmware that replaces the image's firmware section
    PGMIO_SECURITY_SETTINGS security;
    std::vector<PGMIO_CCF_PR_INPUT> pr_inputs;
};

// A partition that holds no page: reserved space or the home of raw data files.
struct PGMIO_CCF_PARTITION
{
    uint32_t page = PGMIO_CCF_AUTO;
    std::string name;
    PGMIO_ADDR_SCHEME scheme = PGMIO_ADDR_AUTO;
    uint32_t start = PGMIO_CCF_AUTO;
    uint32_t end = PGMIO_CCF_AUTO;
    uint32_t size = 0; // bytes; 0 takes the size of what it holds
};

// A raw data file placed into a partition.
struct PGMIO_CCF_RAW_FILE
{
    HEX_FILE record;
    bool hex = false; // hex records; else plain binary
    uint32_t page = PGMIO_CCF_AUTO;
    uint32_t partition_start = PGMIO_CCF_AUTO; // start of its partition; PGMIO_CCF_AUTO: placed by the layout
};

struct PGMIO_CCF::STATE
{
    PGMIO_CCF::PROGRESS progress; // how far a streamed output has been written
    // Constructor arguments.
    std::string name;
    std::string comment;
    std::unique_ptr<PGMIO_FILE_OPTIONS> options;
    uint32_t devices_per_chain = 1;
    uint32_t first_page = 0;
    bool big_endian = false;
    double tck_mhz = 10.0;
    double wait_scale = 1.0;
    bool compress_player_data = false;
    bool verify_outputs = true;

    mutable std::string error; // reason of the last failure; writers report through it

    // What to write.
    PGMIO_CONFIG_SCHEME scheme = PGMIO_CONFIG_SCHEME_ILLEGAL;
    FIO_PATH output_file;
    bool no_bit_swap = true;
    bool jic_output = false;
    bool mem_map = false;
    FIO_PATH mem_map_path;
    bool auto_rpd = false;
    FIO_PATH auto_rpd_path;
    bool helper_output = false;
    FIO_PATH helper_file;
    std::string helper_device; // helper image device, or flash loader device of a .jic
    bool gen_kpf = false;
    uint32_t kpf_page = PGMIO_CCF_ALL_PAGES;
    uint32_t kpf_device = PGMIO_CCF_ALL_PAGES;

    // Target flash device.
    std::string flash_device;
    std::unique_ptr<DSET_ZB_DEV_OPTIONS_INFO> dev_options;
    uint32_t width = 0; // data bus width of the flash; 0 the device's first

    // Pages.
    std::vector<PGMIO_CCF_PAGE> pages;
    uint32_t current_page = 0;

    // Partitions, raw data files and reserved areas.
    std::vector<PGMIO_CCF_PARTITION> partitions;
    std::vector<PGMIO_CCF_RAW_FILE> raw_files;
    bool options_area = false;
    uint32_t options_start = 0;
    FIO_PATH boot_info_input;

    // Chains: (page, index) -> elements in chain order; the setup owns the elements.
    std::map<std::pair<uint32_t, uint32_t>, std::vector<PGM_CHAIN_ELEMENT*>> chains;
    std::vector<std::unique_ptr<PGM_CHAIN_ELEMENT>> owned_elements;
    bool cvp = false;
    bool hps_iocsr = false;

    // The page, created with defaults when it does not exist yet.
    PGMIO_CCF_PAGE& page(uint32_t index);
};
