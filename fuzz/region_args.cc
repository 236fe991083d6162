// After a fuzzed REG_DOMAIN load, every region query with fuzzed radio IDs,
// channel indexes, frequencies, counts and exclusion lists (up to the
// largest count a u16 holds), checked against the table the library copies
// out (radio_region_getRegionFlags).
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_args.h"
#include "fuzz_root.h"
#include "radio_region.h"

namespace {

bool usable(const radio_chan_rec_t &r) { return (r.extFlag & 0x1002) != 0x2; }

uint32_t index_of(const radio_region_tbl_t &t, uint32_t v, bool by_freq) {
  for (uint32_t k = 0; k < t.chanNum; ++k)
    if ((by_freq ? static_cast<uint32_t>(t.chanRec[k].freq) : t.chanRec[k].chan) == v) return k + 1;
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  static bool once = (fuzz::model(), true);
  (void)once;
  FuzzedDataProvider in(data, size);
  const int code = in.ConsumeIntegralInRange(0, 1000);
  const std::string reg2 = in.ConsumeRandomLengthString(2000), reg5 = in.ConsumeRandomLengthString(2000);
  fuzz::write("/etc/AP100_X_2.0/ath/REG_DOMAIN2", reg2);
  fuzz::write("/etc/AP100_X_2.0/ath/REG_DOMAIN5", reg5);
  radio_region_init(code);
  radio_region_tbl_t tbl[2];
  for (uint32_t rid = 0; rid < 2; ++rid) {
    FUZZ_CHECK(radio_region_getRegionFlags(rid, &tbl[rid]) == 0);
    FUZZ_CHECK(tbl[rid].chanNum <= RADIO_REGION_MAX_CHAN);
  }
  while (in.remaining_bytes()) {
    // Mostly valid radio IDs and indexes, sometimes anything.
    const uint32_t rid = in.ConsumeIntegralInRange(0, 7) ? in.ConsumeIntegralInRange(0u, 2u) : in.ConsumeIntegral<uint32_t>();
    const radio_region_tbl_t *t = rid < 2 ? &tbl[rid] : nullptr;
    const uint32_t n = t ? t->chanNum : 0;
    const uint32_t k = in.ConsumeBool() ? in.ConsumeIntegralInRange(0u, n + 2) : in.ConsumeIntegral<uint32_t>();
    const radio_chan_rec_t *rec = (t && k >= 1 && k <= n) ? &t->chanRec[k - 1] : nullptr;
    switch (in.ConsumeIntegralInRange(0, 7)) {
      case 0:
        FUZZ_CHECK(radio_region_chanIndex2Freq(rid, k) == (rec ? static_cast<uint32_t>(rec->freq) : 0));
        FUZZ_CHECK(radio_region_chanIndex2Num(rid, k) == (rec ? rec->chan : 0));
        FUZZ_CHECK(radio_region_getChanCommonFlag(rid, k) == (rec ? rec->commonFlag : 0) || !rec);
        break;
      case 1: {
        const uint32_t v = rec && in.ConsumeBool() ? static_cast<uint32_t>(rec->freq) : in.ConsumeIntegral<uint32_t>();
        FUZZ_CHECK(radio_region_Freq2Index(rid, v) == (t ? index_of(*t, v, true) : 0));
        FUZZ_CHECK(radio_region_chanNum2Index(rid, v) == (t ? index_of(*t, v, false) : 0));
        break;
      }
      case 2: {  // by channel or over the radio, with an exclusion list of any count
        const uint16_t count = in.ConsumeBool() ? in.ConsumeIntegralInRange<uint16_t>(0, 8) : in.ConsumeIntegral<uint16_t>();
        // The list alternates two frequencies (one usually in the table).
        const uint16_t f[2] = {in.ConsumeIntegral<uint16_t>(),
                               static_cast<uint16_t>(t && n ? t->chanRec[in.ConsumeIntegralInRange(0u, n - 1)].freq : 0)};
        // The list is exactly count + 1 long; the second frequency stands at
        // one fuzzed place only, anywhere up to the last.
        std::vector<uint16_t> list(size_t{count} + 1, f[0]);
        list[0] = count;
        const size_t place = count ? in.ConsumeIntegralInRange<size_t>(1, count) : 0;
        if (place) list[place] = f[1];
        const bool with_list = in.ConsumeIntegralInRange(0, 9) != 0;
        const uint32_t idx = in.ConsumeBool() ? 0 : k;
        const uint32_t got = radio_region_getMaxPowerByChan(rid, idx, with_list ? list.data() : nullptr);
        uint32_t want = 0;
        if (t && idx >= 1 && idx <= n) {
          want = static_cast<uint32_t>(t->chanRec[idx - 1].maxPower);  // no usable rule, no list
        } else if (t && idx == 0) {
          for (uint32_t c = 0; c < n; ++c) {
            const radio_chan_rec_t &r = t->chanRec[c];
            bool listed = false;
            if (with_list && count >= 2) listed = index_of(*t, f[0], true) == c + 1;  // all but one place
            if (with_list && place) listed = listed || index_of(*t, f[1], true) == c + 1;
            if (usable(r) && !listed && static_cast<uint32_t>(r.maxPower) > want) want = static_cast<uint32_t>(r.maxPower);
          }
        }
        FUZZ_CHECK(got == want);
        break;
      }
      case 3: {
        uint32_t lo = 7, hi = 7;
        const uint32_t rc = radio_region_getPowerRange(rid, &lo, &hi);
        FUZZ_CHECK(rc == (t ? 0u : RADIO_REGION_ERR));
        FUZZ_CHECK(radio_region_getMaxPowerByRadio(rid) == (t ? hi : 0u));
        break;
      }
      case 4: {
        radio_chan_list_t list;
        list.kind = in.ConsumeIntegral<uint8_t>();
        const uint32_t rc = radio_region_getChanList(rid, &list);
        FUZZ_CHECK(rc == (t ? 0u : RADIO_REGION_ERR));
        if (!t) break;
        FUZZ_CHECK(list.count == n);
        for (uint32_t c = 0; c < RADIO_REGION_MAX_CHAN; ++c) {
          const radio_chan_rec_t &r = t->chanRec[c];
          const uint16_t v = c < n && usable(r) ? static_cast<uint16_t>(list.kind == 1 ? static_cast<uint32_t>(r.freq) : r.chan) : 0;
          FUZZ_CHECK(list.entries[c] == v);
        }
        break;
      }
      case 5: {  // a count up to and past the table, over a buffer of that many
        const uint32_t cnt = in.ConsumeBool() ? in.ConsumeIntegralInRange(0u, 70u) : in.ConsumeIntegral<uint32_t>();
        std::vector<uint32_t> freqs(std::min<uint32_t>(cnt, 70));  // exactly as many as a call may read
        freqs.reserve(1);
        for (uint32_t &f : freqs) f = t && n && in.ConsumeBool() ? static_cast<uint32_t>(t->chanRec[in.ConsumeIntegralInRange(0u, n - 1)].freq) : in.ConsumeIntegral<uint16_t>();
        radio_block_list_t block;
        const uint32_t rc = radio_region_getBlockFreqList(rid, cnt <= 70 ? cnt : n + 1, freqs.data(), &block);
        if (!t || cnt == 0 || cnt > n) {
          FUZZ_CHECK(rc == RADIO_REGION_ERR);
        } else {
          FUZZ_CHECK(rc == 0 && block.count <= n);
        }
        // Counts above 66 are refused before the list is read.
        radio_region_checkIsSuppNonDfsChan(rid, cnt, freqs.data(), in.ConsumeIntegralInRange(-1, 9));
        break;
      }
      case 6:
        if (rec) radio_region_checkChannelValid(fuzz::any_int(in), rec);
        radio_region_checkChannelValid(fuzz::any_int(in), nullptr);
        radio_region_checkChannel(rid, k);
        break;
      default:
        radio_region_isHT40Supp(rid);
        radio_region_isVHT80Supp(rid);
        radio_region_isVHT160Supp(rid);
        radio_region_getDFSCap();
        radio_region_isWradarSupp();
        radio_region_is5GSupp();
        radio_region_isDfsSupp();
        break;
    }
  }
  return 0;
}
