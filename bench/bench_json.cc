// JSON parse and print on the same documents, built once against the
// library and once against the system cJSON (the names clash, so each side
// is its own program); scripts/bench compares the two runs.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "cJSON.h"

namespace {

// A device configuration of about 2 KiB.
std::string config() {
  std::string s = R"({"vlanbind":{"supp":true,"ucCfgVer":2},"lanport":{"dlPortNum":4,"dlPortStartIdxOffset":1,)";
  for (int p = 1; p <= 4; ++p)
    s += "\"dlPort" + std::to_string(p) + "PhyId\":" + std::to_string(p) + ",\"dlPort" + std::to_string(p) +
         "AliasName\":\"LAN" + std::to_string(p) + "\",\"dlPort" + std::to_string(p) + "LogicalIfName\":\"eth" +
         std::to_string(p) + "\",";
  s += R"("dlPortIfName":"eth1","poeOutSupp":true,"poeOutBitMap":2,"ulPortPhyId":4,"ulPortAliasName":"ETH/PoE",)"
       R"("ulPortIfName":"eth0","ulPortLogicalIfName":"br-lan","ulPortLinkStateMask":16,"phyType":"RTL8211F"},)"
       R"("thermal":[{"low":0,"high":105,"dcoff":0},{"low":100,"high":110,"dcoff":30.5}],)"
       R"("cloudCtrl":{"supp":true,"cfgSupp":true,"micType":"v2"},"misc":{"defTimeZone":8,"ratio":0.125},)";
  while (s.size() < 2000) s += "\"pad" + std::to_string(s.size()) + "\":[1,2.5,\"text\",false,null],";
  s += "\"end\":true}";
  return s;
}

// About 1 MiB: an array of records.
std::string big() {
  std::string s = "[";
  for (int i = 0; s.size() < (1u << 20); ++i)
    s += std::string(i ? "," : "") + R"({"id":)" + std::to_string(i) + R"(,"mac":"00:11:22:33:44:)" +
         std::to_string(i % 100) + R"(","rssi":-)" + std::to_string(40 + i % 50) + R"(.5,"ok":true,"tags":["a","b"]})";
  return s + "]";
}

const std::string &doc(int which) {
  static const std::string docs[2] = {config(), big()};
  return docs[which];
}

void Parse(benchmark::State &state) {
  const std::string &text = doc(static_cast<int>(state.range(0)));
  cJSON_Delete(cJSON_Parse(text.c_str()));  // warm up: the heap grows to its working size untimed
  for (auto _ : state) {
    cJSON *t = cJSON_Parse(text.c_str());
    benchmark::DoNotOptimize(t);
    cJSON_Delete(t);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

template <bool Formatted>
void Print(benchmark::State &state) {
  const std::string &text = doc(static_cast<int>(state.range(0)));
  cJSON *t = cJSON_Parse(text.c_str());
  for (auto _ : state) {
    char *out = Formatted ? cJSON_Print(t) : cJSON_PrintUnformatted(t);
    benchmark::DoNotOptimize(out);
    std::free(out);
  }
  cJSON_Delete(t);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

}  // namespace

BENCHMARK(Parse)->Name("json_parse/" BENCH_SIDE)->Arg(0)->Arg(1);
BENCHMARK(Print<false>)->Name("json_print_unformatted/" BENCH_SIDE)->Arg(0)->Arg(1);
BENCHMARK(Print<true>)->Name("json_print/" BENCH_SIDE)->Arg(0)->Arg(1);
BENCHMARK_MAIN();
