// What makes one chip itself: its profile, and the test state that its back end keeps.
#ifndef ORVA_CHIP_H
#define ORVA_CHIP_H

#include <stdint.h>

#include "common/list.h"

namespace orva {

struct chip;
struct calibration;

/// A chip's test state; the variables themselves stand in the chip's profile.cpp under their own names.
struct test_state {
  int32_t &status;       ///< 1 while test mode is on
  int32_t &mode;         ///< AT mode last asked for, known or not
  uint8_t &mode_driver;  ///< driver mode of the last known AT mode
  int32_t &channel;      ///< centre frequency, MHz
  int32_t &freq;         ///< nothing writes it
  int32_t &rate;         ///< station's units
  int32_t &band;         ///< bandwidth index; -1: not set
  int32_t &power;        ///< station's units; -99: not set
  int32_t &antenna;      ///< -1: not set
  int32_t &core;         ///< MIMO chain
  int32_t &tx;           ///< 1 while transmitting
  int32_t &rx;           ///< 1 while receiving
  int32_t &mem_time;     ///< nothing writes it
  int32_t &chipcheck_result;
  uint32_t *running_test;           ///< null: the chip keeps no running-test flag
  uint32_t *selcal_disable_switch;  ///< null: the chip has no self-calibration switch
};

/// A command that the value sender accepts, and how its value is laid into the record.
struct value_command {
  uint32_t id;
  void (*set)(uint8_t *pri_data, uint32_t value);
};

/// AT mode of the station and mode number of the driver. The first row with the AT mode wins.
struct at_mode {
  uint32_t driver_mode;
  uint32_t at_mode;
};

/// Below 2484 MHz the driver wants another number for some modes.
struct mode_remap {
  uint8_t mode;
  uint8_t below_2484_mhz;
};

/// A rate that is sent as a value of its own instead of a hundredth.
struct rate_code {
  int32_t rate;
  int32_t code;
};

/// One step of a transmit or receive start: run gives 1 when the driver took it; failure is logged with the
/// result.
struct test_step {
  int32_t (*run)(const chip &);
  const char *failure;
};

/// One step of the weld test on an open socket: 1 passed, else failure is logged and the test ends.
struct weld_step {
  int32_t (*run)(const chip &, uint32_t socket);
  const char *failure;
};

/// Whose failure makes test-mode entry say that the country code failed.
enum class country_failure : uint8_t { not_logged, of_country_code, of_power_save };

/// Line numbers printed in a probe's messages.
struct probe_lines {
  uint16_t fail, pass;
};

/// Marks a command id that the chip has not.
constexpr uint8_t no_command = 0xFF;

struct chip {
  const char *name;  ///< prefix of its functions, as printed in messages
  const char *log_tag;
  uint32_t magic;  ///< stamped on every driver command

  /// Commands whose id differs between chips.
  struct {
    uint8_t pmu_check, wakeup_io, pcie, conn_info, dyn_interval, selfcali_interval, power_test, tas_antenna,
        bss_expire_age, calibration_query;
  } command;

  /// Line numbers in the driver channel's messages.
  struct {
    uint16_t socket_failed, second_socket_failed, ioctl_fail, retry_fail, unknown_command;
  } line;

  list<value_command> value_commands;

  struct {
    list<at_mode> at_modes;
    list<mode_remap> remaps;
    bool logs_every_call;  ///< set_mode logs the mode at error level on every call, not only an unknown one
    const char *unknown;   ///< logged for an unknown AT mode, with the mode
  } mode;

  /// Channel number of a frequency at the stored bandwidth: 1, or 0 where there is none.
  int32_t (*channel_of)(const chip &, uint32_t mhz, uint32_t &channel);

  struct {
    int32_t divisor;  ///< station's units per driver step
  } power;

  struct {
    list<const test_step *> steps;
    list<rate_code> rate_codes;
    bool raises_flag_at_start;     ///< start sets the transmit flag
    bool stops_only_when_started;  ///< stop answers 1 at once when the flag is down, receive as well
    uint32_t final_pause_us;       ///< after switching transmit or receive on
  } tx;

  struct {
    list<const test_step *> steps;
  } rx;

  struct {
    country_failure logs_country_failure;
    bool sets_selfcali_interval, sets_dyn_interval;
    bool clears_flags_at_stop;  ///< leaving test mode lowers the transmit and receive flags
  } test_mode;

  struct {
    bool logs_wrong_type;
  } query;

  struct {
    uint16_t dbb_line;
    probe_lines pmu, pin, wakeup_io, pcie;
    bool wakeup_logs_low_half;  ///< logs the low 16 bits as a signed number instead of all 32
  } probe;

  struct {
    uint32_t words;  ///< 16-bit words of the identifier
    bool logs_characters;
    const char *boots_as;     ///< function that the retry line names
    bool names_boot_failure;  ///< adds a line of its own when wlan0 did not come up
  } die_id;

  struct {
    list<const weld_step *> steps;
    bool sdio_loop_stops_wifi;
  } self_check;

  struct {
    const char *roam_format_error;
    bool checks_expire_age_format;
    const char *conn_info_copy_failure;
    bool conn_info_copy_failure_ends;
    uint32_t upc_without_socket;      ///< result of the UPC read when there is no socket
    const char *selcal_logged_as;     ///< prefix in the self-calibration switch's message
    const char *powermode_logged_as;  ///< prefix in the power-mode setter's first message
  } station;

  const struct calibration *calibration;  ///< null: the chip keeps no calibration texts
  test_state state;
};

}  // namespace orva

#endif
