#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>

#include "bench/Messages.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::bench {
namespace {

const MessageCodec& Messages() {
  static const MessageCodec messages;
  return messages;
}

std::string MessageOf(const benchmark::State& state) {
  return Message(Messages().codec, Payload(static_cast<std::size_t>(state.range(0))));
}

void CountBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void Gate(benchmark::State& state) {
  const std::string text = MessageOf(state);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(Messages().gate.Pass(text));
  CountBytes(state, text);
}

void Build(benchmark::State& state) {
  const std::string payload = Payload(static_cast<std::size_t>(state.range(0)));
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(Message(Messages().codec, payload));
  CountBytes(state, payload);
}

void Parse(benchmark::State& state) {
  const std::string text = MessageOf(state);
  std::string type;
  std::string data;
  for ([[maybe_unused]] auto _ : state) {
    TLK_XMLParser parser(Messages().codec, text);
    parser.GetType(type);
    parser.GetData(data);
  }
  CountBytes(state, text);
}

BENCHMARK(Gate)->Arg(100)->Arg(2'000)->Arg(100'000);
BENCHMARK(Build)->Arg(100)->Arg(2'000)->Arg(100'000);
BENCHMARK(Parse)->Arg(100)->Arg(2'000)->Arg(100'000);

}  // namespace
}  // namespace tlk::bench
