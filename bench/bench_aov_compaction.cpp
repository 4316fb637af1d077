// Throughput of the file writer's hot path: one AOV channel compacted over all samples, and its block written.

#include "files/aov_blocks.h"

#include <holvane/binio.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <vector>

using namespace Holvane::BinIO;

namespace {

std::vector<AOVData> colourChannels(std::size_t samples, std::size_t stride)
{
    std::vector<AOVData> slots(samples * stride);
    for (std::size_t s = 0; s < samples; ++s)
        slots[s * stride].vec4 = {float(s) * 0.001f, 1.0f / float(s + 1), -2.0f, 0.5f};
    return slots;
}

void compactColourChannel(benchmark::State& state)
{
    std::size_t const samples = static_cast<std::size_t>(state.range(0)), stride = 3;
    std::vector<AOVData> slots = colourChannels(samples, stride);
    std::vector<halfvec4> compact;
    for (auto _ : state) {
        CompactAOVS(slots.data(), samples, stride, compact);
        benchmark::DoNotOptimize(compact.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(samples));
}
BENCHMARK(compactColourChannel)->Arg(1 << 12)->Arg(1 << 20);

void writeColourChannelBlock(benchmark::State& state)
{
    std::size_t const samples = static_cast<std::size_t>(state.range(0)), stride = 3;
    std::vector<AOVData> slots = colourChannels(samples, stride);
    std::FILE* file = std::tmpfile();
    for (auto _ : state) {
        std::rewind(file);
        Holvane::Internal::writeAovChannelBlock(file, Holvane::Phase::AOV_VEC4, slots.data(), samples, stride,
                                                nullptr);
    }
    std::fclose(file);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(samples));
}
BENCHMARK(writeColourChannelBlock)->Arg(1 << 16);

}  // namespace
