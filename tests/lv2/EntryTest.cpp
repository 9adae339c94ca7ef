// The bundle's entries: what they answer, what a host's options do, and what happens without memory.
#include "LoadedBundle.h"
#include "tests/support/Allocations.h"

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

// The sound played twice, the pedal going to the toe in the second, in parts of `part` samples.
std::vector<float> soundInParts(const std::vector<float>& in, std::size_t part) {
  ModuleBeside module(kRate);
  Knobs knobs;
  module.run(knobs, in, part);
  knobs.pedal = 1.0f;
  return module.run(knobs, in, part);
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

std::vector<float> soundAnnouncing(const std::vector<float>& in, int32_t samples) {
  return soundWithOptions(in,
                          {option(LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int, &samples, sizeof samples)});
}

} // namespace

TEST_CASE("two plug-ins under their names, without extensions") {
  CHECK(std::string(descriptor(1).URI) == "urn:treadshift:pedal");
  CHECK(std::string(descriptor(2).URI) == "urn:treadshift:pedal-stereo");
  for (const int channels : {1, 2}) {
    CHECK((descriptor(channels).extension_data == nullptr));
    CHECK((descriptor(channels).deactivate == nullptr));
  }
  void* const binary = dlopen(kBundleBinary, RTLD_NOW | RTLD_LOCAL);
  const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(binary, "lv2_descriptor"));
  CHECK(find(2) == nullptr);
  CHECK(find(std::numeric_limits<uint32_t>::max()) == nullptr);
  dlclose(binary);
}

TEST_CASE("the parts of a long call are as long as the block that the host announces") {
  const std::vector<float> in = floatNoise(1000);
  const auto whole = soundInParts(in, 1000);
  REQUIRE_FALSE(sameBits(whole, soundInParts(in, 64)));
  CHECK(sameBits(soundAnnouncing(in, 64), soundInParts(in, 64)));
  CHECK(sameBits(soundAnnouncing(in, 1), soundInParts(in, 1)));
  for (const int32_t samples :
       {1000, 4096, 0, -5, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
    CAPTURE(samples);
    CHECK(sameBits(soundAnnouncing(in, samples), whole));
  }
}

TEST_CASE("without an announcement parts have 4096 samples, and none has more than 65536") {
  const std::vector<float> in = floatNoise(70000);
  CHECK(sameBits(soundWith(in, nullptr), soundInParts(in, 4096)));
  CHECK(sameBits(soundAnnouncing(in, std::numeric_limits<int32_t>::max()), soundInParts(in, 65536)));
}

TEST_CASE("options that announce something else, or in another way, count for nothing") {
  const std::vector<float> in = floatNoise(1000);
  const auto whole = soundInParts(in, 1000);
  const int32_t small = 64;
  const int64_t wide = 64;
  const char* const largest = LV2_BUF_SIZE__maxBlockLength;
  const LV2_Options_Option right = option(largest, LV2_ATOM__Int, &small, 4);
  const LV2_Options_Option wrong[] = {option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &small, 4),
                                      option(largest, LV2_ATOM__Float, &small, 4),
                                      option(largest, LV2_ATOM__Int, &wide, 8),
                                      option(largest, LV2_ATOM__Int, nullptr, 4),
                                      option(largest, LV2_ATOM__Int, &small, 4, LV2_OPTIONS_PORT)};
  for (const LV2_Options_Option& each : wrong) {
    CHECK(sameBits(soundWithOptions(in, {each}), whole));
    CHECK(sameBits(soundWithOptions(in, {each, right}), soundInParts(in, 64)));
  }

  const LV2_Options_Option options[] = {right, {}};
  const LV2_Feature optionsFeature = {LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options)};
  const LV2_Feature* const withoutMap[] = {&optionsFeature, nullptr};
  const LV2_Feature* const withoutOptions[] = {&kMapFeature, nullptr};
  const LV2_Feature* const none[] = {nullptr};
  for (const LV2_Feature* const* features : {withoutMap, withoutOptions, none})
    CHECK(sameBits(soundWith(in, features), whole));
}

TEST_CASE("without memory there is no instance, and nothing is left behind") {
  for (const int channels : {1, 2}) {
    const LV2_Descriptor& plugin = descriptor(channels);
    bool made = false;
    int refusals = 0;
    for (long n = 1; !made; ++n) {
      const long before = allocations::live(), taken = allocations::taken();
      LV2_Handle handle;
      {
        const allocations::FailNth failing(n);
        handle = plugin.instantiate(&plugin, kRate, TREADSHIFT_BUNDLE, nullptr);
      }
      made = allocations::taken() - taken < n;
      // The effect itself runs without what it could not build, so an instance may come as well.
      if (handle) {
        plugin.activate(handle);
        plugin.cleanup(handle);
      } else {
        ++refusals;
      }
      CHECK(allocations::live() == before);
    }
    CHECK(refusals > 0);
  }
}

TEST_CASE("an activation without memory lets the sound through until the next one") {
  const std::vector<float> in = floatNoise(6000);
  for (const long failing : {1L, 2L}) {
    Instance instance(kRate), fresh(kRate);
    CHECK_FALSE(sameBits(instance.run(in), in));
    {
      const allocations::FailNth failure(failing);
      instance.activate();
    }
    CHECK(sameBits(instance.run(in), in));
    instance.activate();
    CHECK(sameBits(instance.run(in), fresh.run(in)));
  }
}
