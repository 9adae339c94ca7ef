// What an LV2 plug-in may ask of its host.
#pragma once

#include <cstdint>
#include <lilv/lilv.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

// Scheduled work is done at once, on the same thread, and so counts where the plug-in is timed.
class Lv2HostServices {
public:
  // blockSamples: the length of the blocks that will come.
  explicit Lv2HostServices(int32_t blockSamples);

  Lv2HostServices(const Lv2HostServices&) = delete;
  Lv2HostServices& operator=(const Lv2HostServices&) = delete;

  // The features to hand over, ended by null.
  const LV2_Feature* const* list() const { return features; }

  LilvInstance* instance = nullptr; // who the work is for

private:
  static LV2_Worker_Status respond(LV2_Worker_Respond_Handle self, uint32_t size, const void* data);
  static LV2_Worker_Status work(LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data);

  LV2_Options_Option option(const char* key) const;

  int32_t blockLength; // samples
  LV2_URID_Map map;
  LV2_Worker_Schedule schedule;
  LV2_Options_Option options[4];
  LV2_Feature listed[4];
  const LV2_Feature* features[5];
};
