// The radio configuration table and its lazy loader.
#pragma once

#include <cstdint>

#include "cJSON.h"
#include "radio_config.h"

namespace aputil::radio {

struct RadioCfg {
  uint32_t radioID;
  uint32_t band;
  uint32_t mimo;
  uint32_t mimogain;
  uint32_t anttgain;
  uint32_t mode;
  uint32_t modeCap;
  uint32_t ifindex;
  uint32_t blockAcsBand;
  uint32_t blockSpruceBand4;
  uint32_t smartAnt;
  char ifname[16];
  char vapPrefix[16];
  uint32_t maxVapNum;
};

struct ThermalLevel {
  uint8_t low;
  uint8_t high;
  uint8_t dcoff;
};

struct RadioCfgTbl {
  uint32_t initialised;
  uint32_t EIRP;
  int32_t maxStaPerRadio;
  uint32_t radioType;
  RadioCfg radio[MAX_RADIO_NUM];
  uint8_t chanLimitSupp;
  uint8_t dfsImproveSupp;
  uint8_t dfsCfgSupp;
  uint8_t dfsUSSupp;
  uint8_t n1024QAMSupp;
  uint8_t bbCCASupp;
  uint32_t bbCCARegVal[1];
  uint8_t bbPSDSupp;
  uint32_t bbPSDRegVal[3];
  uint8_t bbAGCSupp;
  uint32_t bbAGCRegVal[2];
  uint8_t thermalSupp;
  ThermalLevel thermalLevel[THERMAL_CTL_LEVEL_NUM];
  uint8_t ofdmaCfgSupp;
  uint8_t ofdmaEnable;
  uint8_t noAutoWradarSupp;
  uint8_t zeroWaitDfsSupp;
  uint8_t fragThreshSupp;
  char meshBkhapIfname[16];
  char meshStaIfname[16];
  uint32_t specRegionCode;
  uint8_t ovWriteCtl;
};

extern RadioCfgTbl l_radioCfgTbl;

// Loads the table on first use and after every failed attempt.
// Returns: 0 when loaded, -1 when this attempt failed (after its message).
int l_radio_config_init();

// One baseband register set of a "BBRegCfg" object: the set's support flag,
// with up to count values converted into pRegSet.
uint8_t _bbreg_parse(cJSON *pRoot, const char *pRegName, uint8_t count, uint32_t *pRegSet);

// Forget the loaded table (tests only).
void reset_for_tests();

}  // namespace aputil::radio
