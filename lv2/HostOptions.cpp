#include "lv2/HostOptions.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2_util.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

int32_t announcedLargestBlock(const LV2_Feature* const* features) {
  const auto* map = static_cast<const LV2_URID_Map*>(lv2_features_data(features, LV2_URID__map));
  const auto* option =
      static_cast<const LV2_Options_Option*>(lv2_features_data(features, LV2_OPTIONS__options));
  if (!map || !option) return 0;
  const LV2_URID key = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
  const LV2_URID whole = map->map(map->handle, LV2_ATOM__Int);
  for (; option->key || option->value; ++option) {
    if (option->context != LV2_OPTIONS_INSTANCE || option->key != key) continue;
    if (option->type != whole || option->size != sizeof(int32_t) || !option->value) continue;
    return *static_cast<const int32_t*>(option->value);
  }
  return 0;
}
