// The bundle's entries: what they answer, what a host's options do, and what happens without memory.
#include "LoadedBundle.h"
#include "tests/support/Allocations.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <limits>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <map>
#include <string>

namespace {

constexpr double kRate = 48000.0;

// A host that hands out numbers for names in the order in which they come.
LV2_URID numberOf(LV2_URID_Map_Handle, const char* uri) {
  static std::map<std::string, LV2_URID> numbers;
  return numbers.emplace(uri, static_cast<LV2_URID>(numbers.size() + 1)).first->second;
}

LV2_URID_Map numbering = {nullptr, numberOf};
const LV2_Feature kMapFeature = {LV2_URID__map, &numbering};

LV2_Options_Option option(const char* key, const char* type, const void* value, uint32_t size,
                          LV2_Options_Context context = LV2_OPTIONS_INSTANCE) {
  return {context, 0, numberOf(nullptr, key), size, numberOf(nullptr, type), value};
}

// The sound of 1000 samples during which the pedal goes to the toe, in parts of `part` samples.
std::vector<float> soundInParts(const std::vector<float>& in, std::size_t part) {
  ModuleBeside module(kRate);
  Knobs knobs;
  std::vector<float> out(in.size());
  for (const float pedal : {0.0f, 1.0f}) {
    knobs.pedal = pedal;
    for (std::size_t start = 0; start < in.size(); start += part) {
      const auto samples = static_cast<uint32_t>(std::min(part, in.size() - start));
      module.run(knobs, in.data() + start, out.data() + start, samples);
    }
  }
  return out;
}

std::vector<float> soundWith(const std::vector<float>& in, const LV2_Feature* const* features) {
  Instance instance(kRate, features);
  instance.run(in);
  instance.knobs.pedal = 1.0f;
  return instance.run(in);
}

std::vector<float> soundWithOptions(const std::vector<float>& in, std::vector<LV2_Options_Option> options) {
  options.push_back({});
  const LV2_Feature optionsFeature = {LV2_OPTIONS__options, options.data()};
  const LV2_Feature* const features[] = {&optionsFeature, &kMapFeature, nullptr};
  return soundWith(in, features);
}

} // namespace

TEST_CASE("one plug-in under its name, without extensions") {
  void* const binary = dlopen(kBundleBinary, RTLD_NOW | RTLD_LOCAL);
  REQUIRE(binary);
  const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
  REQUIRE((find != nullptr));
  CHECK(std::string(find(0)->URI) == "urn:treadshift:pedal");
  CHECK(find(1) == nullptr);
  CHECK(find(std::numeric_limits<uint32_t>::max()) == nullptr);
  CHECK((find(0)->extension_data == nullptr));
  CHECK((find(0)->deactivate == nullptr));
  dlclose(binary);
}

TEST_CASE("the parts of a long call are as long as the block that the host announces") {
  const std::vector<float> in = floatNoise(1000);
  const auto whole = soundInParts(in, 1000);
  REQUIRE_FALSE(sameBits(whole, soundInParts(in, 64)));
  const auto announced = [&](int32_t samples) {
    return soundWithOptions(in,
                            {option(LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int, &samples, sizeof samples)});
  };
  CHECK(sameBits(announced(64), soundInParts(in, 64)));
  CHECK(sameBits(announced(1), soundInParts(in, 1)));
  for (const int32_t samples :
       {1000, 4096, 0, -5, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
    CAPTURE(samples);
    CHECK(sameBits(announced(samples), whole));
  }
}

TEST_CASE("options that announce something else, or in another way, count for nothing") {
  const std::vector<float> in = floatNoise(1000);
  const auto whole = soundInParts(in, 1000);
  const int32_t small = 64;
  const int64_t wide = 64;
  const char* const largest = LV2_BUF_SIZE__maxBlockLength;
  CHECK(sameBits(soundWithOptions(in, {}), whole));
  CHECK(sameBits(soundWithOptions(in, {option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &small, 4)}),
                 whole));
  CHECK(sameBits(soundWithOptions(in, {option(largest, LV2_ATOM__Float, &small, 4)}), whole));
  CHECK(sameBits(soundWithOptions(in, {option(largest, LV2_ATOM__Int, &wide, 8)}), whole));
  CHECK(sameBits(soundWithOptions(in, {option(largest, LV2_ATOM__Int, nullptr, 4)}), whole));
  CHECK(sameBits(soundWithOptions(in, {option(largest, LV2_ATOM__Int, &small, 4, LV2_OPTIONS_PORT)}), whole));
  CHECK(sameBits(soundWithOptions(in, {option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &wide, 4),
                                       option(largest, LV2_ATOM__Int, &small, 4)}),
                 soundInParts(in, 64)));

  std::vector<LV2_Options_Option> options = {option(largest, LV2_ATOM__Int, &small, 4), {}};
  const LV2_Feature optionsFeature = {LV2_OPTIONS__options, options.data()};
  const LV2_Feature* const withoutMap[] = {&optionsFeature, nullptr};
  const LV2_Feature* const withoutOptions[] = {&kMapFeature, nullptr};
  const LV2_Feature* const none[] = {nullptr};
  for (const LV2_Feature* const* features : {withoutMap, withoutOptions, none})
    CHECK(sameBits(soundWith(in, features), whole));
}

TEST_CASE("without memory there is no instance, and nothing is left behind") {
  descriptor();
  bool made = false;
  int refusals = 0;
  for (long n = 1; !made; ++n) {
    const long before = allocations::live();
    LV2_Handle handle;
    {
      const allocations::FailNth failing(n);
      handle = descriptor().instantiate(&descriptor(), kRate, TREADSHIFT_BUNDLE, nullptr);
    }
    // The effect itself runs without what it could not build, so an instance may come as well.
    if (handle) {
      descriptor().activate(handle);
      descriptor().cleanup(handle);
      const long total = allocations::taken();
      handle = descriptor().instantiate(&descriptor(), kRate, TREADSHIFT_BUNDLE, nullptr);
      made = n > allocations::taken() - total;
      descriptor().cleanup(handle);
    } else {
      ++refusals;
    }
    CHECK(allocations::live() == before);
  }
  CHECK(refusals > 0);
}

TEST_CASE("an activation without memory lets the sound through until the next one") {
  const std::vector<float> in = floatNoise(6000);
  Instance instance(kRate), fresh(kRate);
  CHECK_FALSE(sameBits(instance.run(in), in));
  std::vector<float> out(in.size());
  {
    const allocations::FailNth failing(1);
    instance.activate();
  }
  CHECK(sameBits(instance.run(in), in));
  instance.activate();
  CHECK(sameBits(instance.run(in), fresh.run(in)));
}
