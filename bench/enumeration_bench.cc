// One enumeration of N disks on an in-memory host. Times vary from machine to machine: for figures
// that repeat see bench/check.sh.
#include <benchmark/benchmark.h>

#include "bench/memory_host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

void enumerateDevices(benchmark::State& state) {
    const auto disks = static_cast<std::size_t>(state.range(0));
    bench::MemoryHost memory(disks);
    const host::Scope scope(memory);
    CUDIDFactory factory;
    for (auto _ : state) {
        const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
        if (devices.size() != disks) {
            state.SkipWithError("a disk is missing from the device map");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(enumerateDevices)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace

BENCHMARK_MAIN();
