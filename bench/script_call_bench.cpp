// Measures what crossing the script boundary costs: one call of an exported operation taking
// two numbers next to one call of a bare JavaScriptCore callback doing the same work, and
// the time to create and configure a context.

#include <benchmark/benchmark.h>

#include <JavaScriptCore/JavaScript.h>

#include <cstdio>
#include <map>
#include <string>

#include "engine/engine.h"
#include "platform/script/export_table.h"
#include "platform/script/jsc_glue.h"

namespace {

using talvero::ScriptContext;
using talvero::ScriptValue;

constexpr int kCallsPerIteration = 100000;

JSValueRef bareAdd(JSContextRef ctx, JSObjectRef, JSObjectRef, size_t argc, const JSValueRef argv[],
                   JSValueRef*) {
  const double a = argc > 0 ? JSValueToNumber(ctx, argv[0], nullptr) : 0;
  const double b = argc > 1 ? JSValueToNumber(ctx, argv[1], nullptr) : 0;
  return JSValueMakeNumber(ctx, a + b);
}

struct CallFixture {
  CallFixture() {
    context = ScriptContext::create();
    exports.add("add", [](double a, double b) { return a + b; });
    context.setGlobal("exported", exports.instantiate(context));

    JSContextRef ctx = context.state()->context;
    JSObjectRef bare = JSObjectMake(ctx, nullptr, nullptr);
    JSStringRef name = JSStringCreateWithUTF8CString("add");
    JSObjectSetProperty(ctx, bare, name, JSObjectMakeFunctionWithCallback(ctx, name, bareAdd),
                        kJSPropertyAttributeNone, nullptr);
    JSStringRelease(name);
    context.setGlobal("bare", talvero::glue::wrap(ctx, bare));

    context.evaluate(
        "function callMany(target, n) { let s = 0; for (let i = 0; i < n; i++) s = target.add(i, "
        "s) % 1000; return s; }");
    callMany = context.globalObject().get("callMany");
  }

  ScriptContext context;
  talvero::ExportTable exports;
  ScriptValue callMany;
};

CallFixture& fixture() {
  static CallFixture instance;
  return instance;
}

void runCalls(benchmark::State& state, const char* target) {
  CallFixture& f = fixture();
  ScriptValue object = f.context.globalObject().get(target);
  for (auto _ : state) {
    benchmark::DoNotOptimize(f.callMany.call({object, kCallsPerIteration}).toDouble());
  }
  state.SetItemsProcessed(state.iterations() * kCallsPerIteration);
}

void BM_BareCallbackCall(benchmark::State& state) {
  runCalls(state, "bare");
}
void BM_ExportedOperationCall(benchmark::State& state) {
  runCalls(state, "exported");
}
BENCHMARK(BM_BareCallbackCall)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_ExportedOperationCall)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_CreateAndConfigureContext(benchmark::State& state) {
  static talvero::TalveroEngine engine;
  for (auto _ : state) {
    ScriptContext context = ScriptContext::create();
    engine.configure(context);
    benchmark::DoNotOptimize(context.state().get());
  }
}
BENCHMARK(BM_CreateAndConfigureContext)->Unit(benchmark::kMicrosecond);

// Prints the usual table, and keeps the time per call of each run for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& run : runs) {
      const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
      perIteration[run.benchmark_name()] = seconds;
    }
  }
  std::map<std::string, double> perIteration;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const auto& times = reporter.perIteration;
  auto bare = times.find("BM_BareCallbackCall/min_time:1.000");
  auto exported = times.find("BM_ExportedOperationCall/min_time:1.000");
  if (bare != times.end() && exported != times.end()) {
    const double bareNs = bare->second / kCallsPerIteration * 1e9;
    const double exportedNs = exported->second / kCallsPerIteration * 1e9;
    std::printf("\nbare callback call:      %8.1f ns\n", bareNs);
    std::printf("exported operation call: %8.1f ns\n", exportedNs);
    std::printf("ratio exported / bare:   %8.2f (goal: at most 1.30)\n", exportedNs / bareNs);
  }
  auto create = times.find("BM_CreateAndConfigureContext");
  if (create != times.end()) {
    std::printf("create + configure a context: %.1f us\n", create->second * 1e6);
  }
  benchmark::Shutdown();
  return 0;
}
