// SPDX-License-Identifier: Apache-2.0
// The player writers' entry points for the chain elements of a conversion setup.
#include "pgm/zeb/platform/pgmconv/pgmconv.h"
#include "pgm/zeb/platform/pgmconv/pgmio_player.h"

namespace
{

std::string& last_error()
{
    thread_local std::string error;
    return error;
}

// The element's catalogue record; false when it has none with a JTAG interface.
bool jtag_record(const PGM_CHAIN_ELEMENT* element, PGMIO_PLAYER_DEVICE& device, std::string& error)
{
    device.device = element->get_device() ? element->get_device()->get_fpga_record() : nullptr;
    if (device.device && device.device->jtag.ir_length != 0)
        return true;
    error = "device '" + (element->get_device() ? element->get_device()->get_name() : std::string("?")) +
            "' of the chain has no JTAG interface of its own";
    return false;
}

} // namespace

bool pgmio_player_from_elements(const std::vector<PGM_CHAIN_ELEMENT*>& elements, PGMIO_PLAYER_CHAIN& chain,
                                std::string& error)
{
    chain.clear();
    if (elements.empty())
    {
        error = "the chain is empty";
        return false;
    }
    for (const PGM_CHAIN_ELEMENT* element : elements)
    {
        const std::string name = element->get_device() ? element->get_device()->get_name() : "";
        PGMIO_PLAYER_DEVICE device;
        const uint32_t mask =
            element->operation_mask ? element->operation_mask : uint32_t(PGMIO_PGM_OP_PROGRAM | PGMIO_PGM_OP_VERIFY);
        if (((element->flags & PGM_CHAIN_ELEMENT_PROCESS) || element->operation_mask) &&
            !element->get_programming_file().is_empty())
        {
            if (!pgmio_player_load_device(name, element->get_programming_file(), mask, device, error))
                return false;
        }
        else if (!jtag_record(element, device, error))
            return false;
        else
            device.source = "BYPASS";
        chain.push_back(std::move(device));
    }
    return true;
}

bool PGMIO_SVF::create_output_file(std::vector<PGM_CHAIN_ELEMENT*>* chain, const std::string& frequency,
                                   const FIO_PATH& path)
{
    PGMIO_PLAYER_CHAIN players;
    return chain && pgmio_player_from_elements(*chain, players, m_error) &&
           create_output_file(players, frequency, path);
}

bool PGMIO_CMD_LN_INTERFACE::create_output_file(std::vector<PGM_CHAIN_ELEMENT*>* chain, const FIO_PATH& path)
{
    PGMIO_PLAYER_CHAIN players;
    last_error().clear();
    return chain && pgmio_player_from_elements(*chain, players, last_error()) &&
           create_output_file(players, path, last_error());
}

const std::string& PGMIO_CMD_LN_INTERFACE::get_last_error()
{
    return last_error();
}
