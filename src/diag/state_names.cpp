// SPDX-License-Identifier: MIT
#include "diag/state_names.h"

#include <cstddef>
#include <iterator>

namespace {

constexpr const char* kPdStates[] = {
    "init",
    "sense_veth",
    "wait_rdet",
    "set_rdet",
    "wait_for_signature",
    "wait_for_sig_falling",
    "wait_for_sig_halfbit",
    "read_signature",
    "wait_sig_bittime",
    "wait_for_imp_meas",
    "impedance_meas",
    "wait_for_imp_remeas",
    "wait_for_nevent",
    "nevent_startbits",
    "nevent_wait_half_bittime",
    "nevent_readbit",
    "nevent_wait_bittime",
    "nevent_stopbits",
    "nevent_finished",
    "power_ack_debug",
    "power_accepted",
    "wait_for_power",
    "wait_psw_delay",
    "wait_psw_stabilize",
    "sequence_finished",
    "low_power_finished",
};
static_assert(std::size(kPdStates) == 26);

constexpr const char* kPseStates[] = {
    "restart_delay",
    "init",
    "check_precondition",
    "check_vquiet",
    "enable_10v",
    "wait_settling_time_10v",
    "meas_rdet",
    "trigger_end_of_det",
    "wait_for_send_sig",
    "send_sig",
    "sig_wait_bit_time",
    "wait_for_imp_meas",
    "wait_abort_time",
    "trigger_for_imp_meas",
    "delay_for_imp_meas",
    "imp_meas",
    "check_if_short_is_released",
    "calculate_nevent_frame",
    "wait_for_imp_remeas",
    "wait_recover_time",
    "nevent_sync_to_startbit",
    "nevent_wait_startbit_time",
    "nevent_send_bit",
    "nevent_wait_bit_time",
    "nevent_send_stopbits",
    "nevent_power_nak",
    "nevent_finished",
    "wait_for_enable_powersw",
    "enable_powersw",
};
static_assert(std::size(kPseStates) == 29);

template <size_t Count>
const char* name_of(const char* const (&names)[Count], uint8_t state) {
    return state >= 1 && state <= Count ? names[state - 1] : "unknown";
}

}  // namespace

const char* pd_state_name(uint8_t state) {
    return name_of(kPdStates, state);
}

const char* pse_state_name(uint8_t state) {
    return name_of(kPseStates, state);
}
