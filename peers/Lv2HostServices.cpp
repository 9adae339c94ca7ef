#include "peers/Lv2HostServices.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <map>
#include <string>

namespace {

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  static std::map<std::string, LV2_URID> numbers;
  return numbers.try_emplace(uri, static_cast<LV2_URID>(numbers.size() + 1)).first->second;
}

const LV2_Worker_Interface* workerOf(LilvInstance* instance) {
  return static_cast<const LV2_Worker_Interface*>(
      lilv_instance_get_extension_data(instance, LV2_WORKER__interface));
}

} // namespace

Lv2HostServices::Lv2HostServices(int32_t blockSamples)
    : blockLength(blockSamples), map{nullptr, mapUri}, schedule{this, work},
      options{option(LV2_BUF_SIZE__minBlockLength),
              option(LV2_BUF_SIZE__maxBlockLength),
              option(LV2_BUF_SIZE__nominalBlockLength),
              {}},
      listed{{LV2_URID__map, &map},
             {LV2_WORKER__schedule, &schedule},
             {LV2_OPTIONS__options, options},
             {LV2_BUF_SIZE__boundedBlockLength, nullptr}},
      features{&listed[0], &listed[1], &listed[2], &listed[3], nullptr} {}

LV2_Worker_Status Lv2HostServices::respond(LV2_Worker_Respond_Handle self, uint32_t size, const void* data) {
  LilvInstance* instance = static_cast<Lv2HostServices*>(self)->instance;
  const LV2_Worker_Interface* worker = workerOf(instance);
  return worker->work_response(lilv_instance_get_handle(instance), size, data);
}

LV2_Worker_Status Lv2HostServices::work(LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data) {
  auto* self = static_cast<Lv2HostServices*>(handle);
  if (!self->instance) return LV2_WORKER_ERR_UNKNOWN;
  return workerOf(self->instance)->work(lilv_instance_get_handle(self->instance), respond, self, size, data);
}

LV2_Options_Option Lv2HostServices::option(const char* key) const {
  return {LV2_OPTIONS_INSTANCE,           0,           mapUri(nullptr, key), sizeof(int32_t),
          mapUri(nullptr, LV2_ATOM__Int), &blockLength};
}
