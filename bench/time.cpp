// SPDX-License-Identifier: Apache-2.0
// Times by the clock: the library and its floor, dispatch, and how reading and merging grow with the items'
// length. script/bench --time runs it and prints the ratios.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/compare.h"
#include "include/vq2070.h"
#include "platform/platform.h"
#include "virtual_phone/phone.h"

namespace {

constexpr const char *CHIP = bench::dispatch_chip;
constexpr int calls_between_clearings = 256;

/// Times calls. Between batches the timer stops and the trace is cleared, so that it does not grow without
/// end.
void time_calls(benchmark::State &state, const bench::operation &operation, void (*run)()) {
  const int most = operation.prepare_each ? 1 : calls_between_clearings;
  int calls = most;
  bench::prepare(CHIP, operation);
  for (auto _ : state) {
    if (calls == most) {
      state.PauseTiming();
      if (operation.prepare_each) operation.prepare();
      phone_events_clear();
      calls = 0;
      state.ResumeTiming();
    }
    run();
    calls++;
  }
}

/// The whole session in real time, and the pauses that it has to make.
void real_session(benchmark::State &state) {
  for (auto _ : state) {
    state.PauseTiming();
    bench::prepare(CHIP, bench::operation_named("session"));
    phone_set_clock(PHONE_CLOCK_REAL);
    state.ResumeTiming();
    bench::session();
  }
  int64_t pauses = 0;
  for (size_t i = 0; i < phone_event_count(); i++) {
    if (phone_event(i)->kind == PHONE_SLEEP) pauses += phone_event(i)->number[0];
  }
  state.counters["pauses_us"] = static_cast<double>(pauses);
}

void chip_query() { get_orva_connectivity_subchip(); }

void store(size_t length) {
  char item[104] = {};
  for (size_t i = 0; i < length; i++) item[i] = i % 13 == 12 ? ';' : i % 13 == 5 ? '=' : 'a';
  static constexpr struct {
    uint32_t number;
    const char *name;
  } items[] = {
      {340, "WIC0_2G5G_OFDM"}, {363, "NV_UNUSED"},    {367, "WITXCCK"},        {368, "WIC1_2G5G_OFDM"},
      {369, "WIC0_5GLOW"},     {370, "WIC1_5GLOW"},   {384, "WIC0_2G40M"},     {385, "WIC1_2G40M"},
      {386, "WIC0_5G160M"},    {387, "WIC1_5G160M"},  {396, "WIC0_2GMU_OFDM"}, {397, "WIC1_2GMU_OFDM"},
      {398, "WIC0_2GMF40M"},   {399, "WIC1_2GMF40M"}, {400, "WIC0_MUCCK"},     {401, "WIC1_MUCCK"}};
  for (const auto &row : items) phone_nv_put(row.number, row.name, item);
}

void read_all(benchmark::State &state) {
  bench::prepare(CHIP, bench::operation_named("setter"));
  store(static_cast<size_t>(state.range(0)));
  std::vector<char> out(16 * 104);
  for (auto _ : state) {
    wifi_nvram_calibrate_get(out.data(), 104);
    state.PauseTiming();
    phone_events_clear();
    state.ResumeTiming();
  }
}

void merge(benchmark::State &state) {
  phone_reset();
  store(static_cast<size_t>(state.range(0)));
  const uint32_t values[] = {1, 2, 3};
  const orva_nvbuf_request request = {340, "WIC0_2G5G_OFDM", ORVA_NV_ITEM_SIZE, "pa2ga0", 3, values};
  for (auto _ : state) {
    char out[104] = {};
    vq2070_get_nvbuf_by_name(out, sizeof out, &request, ORVA_NVBUF_MERGE);
    state.PauseTiming();
    phone_events_clear();
    state.ResumeTiming();
  }
}

}  // namespace

int main(int count, char **words) {
  benchmark::Initialize(&count, words);
  for (const bench_floor *floor = bench_floors; floor->run != nullptr; floor++) {
    if (std::string(floor->chip) != CHIP) continue;
    bench::check_floor(*floor);
    const bench::operation &operation = bench::operation_named(floor->operation);
    const std::string name = operation.name;
    benchmark::RegisterBenchmark(("library/" + name).c_str(), time_calls, operation, operation.run);
    benchmark::RegisterBenchmark(("floor/" + name).c_str(), time_calls, operation, floor->run);
  }
  const bench::operation calls[] = {{"public", bench::nothing, bench::dispatched_call, false, false},
                                    {"back_end", bench::nothing, bench::direct_call, false, false},
                                    {"chip_query", bench::nothing, chip_query, false, false}};
  for (const bench::operation &call : calls) {
    benchmark::RegisterBenchmark((std::string("dispatch/") + call.name).c_str(), time_calls, call, call.run);
  }
  benchmark::RegisterBenchmark("read_all", read_all)->Arg(0)->Arg(26)->Arg(52)->Arg(103);
  benchmark::RegisterBenchmark("merge", merge)->Arg(0)->Arg(26)->Arg(52)->Arg(78);
  benchmark::RegisterBenchmark("real/session", real_session)->Iterations(1)->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
