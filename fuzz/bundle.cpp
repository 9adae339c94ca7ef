// Fuzz target: the LV2 bundle's entries. A stereo instance has to sound as two mono ones, whatever arrays,
// control values and options it is given.
#include "fuzz/Check.h"
#include "fuzz/ExactBuffer.h"
#include "fuzz/HostEnvironment.h"
#include "fuzz/ScriptBytes.h"
#include "fuzz/SoundScript.h"
#include "fuzz/Target.h"
#include "lv2/PedalInstance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <memory>
#include <vector>

namespace {

constexpr int kMostSteps = 32;
constexpr int kMostSamples = 3000;  // of all runs of a script
constexpr int kMostActivations = 2; // each makes effects anew, which takes longer than all the rest
constexpr double kBundleRates[] = {1000.0, 500.0, 62.5, 8000.0, 62.499, 0.0, -1.0, 0x1p30, INFINITY, NAN};
constexpr std::uint32_t kHostWords[] = {0x1F80, 0x9FC0, 0x3F80, 0x5FBF}; // SSE control words

// Numbers in place of names, 0 for what is not known: as a host gives them that maps two names to one number.
LV2_URID numberOf(LV2_URID_Map_Handle, const char* name) {
  if (std::strcmp(name, LV2_BUF_SIZE__maxBlockLength) == 0) return 1;
  return std::strcmp(name, LV2_ATOM__Int) == 0 ? 2 : 0;
}

// What a host tells an instance about itself, right or wrong.
class HostFeatures {
public:
  explicit HostFeatures(ScriptBytes& script) {
    const int choice = script.byte();
    for (int left = choice >> 4 & 3; left > 0; --left)
      options.push_back({script.flag() ? LV2_OPTIONS_INSTANCE : LV2_OPTIONS_PORT, 0,
                         static_cast<LV2_URID>(1 + script.below(2)), script.flag() ? 4u : 8u,
                         static_cast<LV2_URID>(1 + script.below(2)), valueFor(script)});
    options.push_back({});
    optionsFeature.data = (choice & 4) != 0 ? nullptr : options.data();
    if ((choice & 1) != 0) list[count++] = &map;
    if ((choice & 2) != 0) list[count++] = &optionsFeature;
    isListed = (choice & 8) == 0;
  }
  HostFeatures(const HostFeatures&) = delete;
  HostFeatures& operator=(const HostFeatures&) = delete;

  const LV2_Feature* const* features() const { return isListed ? list : nullptr; }

private:
  const void* valueFor(ScriptBytes& script) {
    if (script.byte() == 0xFF) return nullptr;
    values.push_back(std::make_unique<std::int32_t>(script.int32()));
    return values.back().get();
  }

  std::vector<std::unique_ptr<std::int32_t>> values; // each alone in its memory
  std::vector<LV2_Options_Option> options;
  LV2_URID_Map mapping = {nullptr, numberOf};
  LV2_Feature map = {LV2_URID__map, &mapping};
  LV2_Feature optionsFeature = {LV2_OPTIONS__options, nullptr};
  const LV2_Feature* list[3] = {};
  int count = 0;
  bool isListed = true;
};

class Plugin {
public:
  Plugin(int channels, double rateHz, const LV2_Feature* const* features)
      : descriptor(*lv2_descriptor(channels - 1)),
        handle(descriptor.instantiate(&descriptor, rateHz, "", features)) {
    expect(handle, "no instance");
  }
  ~Plugin() { descriptor.cleanup(handle); }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  void connect(std::uint32_t port, void* data) { descriptor.connect_port(handle, port, data); }
  void activate() { descriptor.activate(handle); }
  void play(std::uint32_t samples, std::uint32_t word) {
    const HostEnvironment environment(word, true);
    descriptor.run(handle, samples);
  }

private:
  const LV2_Descriptor& descriptor;
  LV2_Handle handle;
};

using Buffer = ExactBuffer<float>;

class BundleScript {
public:
  explicit BundleScript(ScriptBytes& bytes) : script(bytes), host(bytes) {
    const double rateHz = kBundleRates[script.below(std::size(kBundleRates))];
    plugins[0] = std::make_unique<Plugin>(2, rateHz, host.features());
    plugins[1] = std::make_unique<Plugin>(1, rateHz, host.features());
    plugins[2] = std::make_unique<Plugin>(1, rateHz, host.features());
  }

  void play() {
    for (int step = 0; step < kMostSteps && !script.isEmpty(); ++step)
      takeStep(script.byte());
  }

private:
  void takeStep(int choice) {
    switch (choice % 8) {
    case 0:
      if (activationsLeft-- <= 0) return;
      for (auto& plugin : plugins)
        plugin->activate();
      return;
    case 1:
      return connectControl(choice >> 3, choice % 16 >= 8);
    case 2:
      return connectNowhere(static_cast<std::uint32_t>(script.int32()));
    case 3:
    case 4:
      values[choice >> 3 & 7] = script.float32();
      return;
    default:
      playBlock(choice >> 3);
    }
  }

  void connectControl(int choice, bool isConnected) {
    const std::uint32_t port = kPortEnabled + choice % 5;
    for (auto& plugin : plugins)
      plugin->connect(port, isConnected ? &values[port] : nullptr);
  }

  // A number that is no port's.
  void connectNowhere(std::uint32_t port) {
    if (port < kPortCount) return;
    for (auto& plugin : plugins)
      plugin->connect(port, &port);
  }

  // The same samples through the stereo instance and through two mono ones.
  void playBlock(int choice) {
    const int samples = std::min(script.below(300), samplesLeft);
    samplesLeft -= samples;
    fill(left, samples);
    fill(right, samples);
    Buffer wantedLeft(samples), wantedRight(samples);
    if ((choice & 0x18) == 0x18) return playUnconnected(samples, choice);
    playMono(*plugins[1], left, wantedLeft, choice);
    playMono(*plugins[2], right, wantedRight, choice);
    playStereo(samples, choice, wantedLeft, wantedRight);
  }

  void fill(std::vector<float>& sound, int samples) {
    std::vector<double> wide(samples);
    fillSound(script, wide.data(), samples);
    sound.resize(samples);
    std::ranges::transform(wide, sound.begin(), [](double sample) {
      return std::isnan(sample) ? NAN : static_cast<float>(std::clamp(sample, -1e30, 1e30));
    });
  }

  static void copy(const std::vector<float>& from, Buffer& to) {
    std::copy(from.begin(), from.end(), to.data());
  }

  static void playMono(Plugin& plugin, const std::vector<float>& sound, Buffer& out, int choice) {
    Buffer in(sound.size());
    copy(sound, in);
    plugin.connect(kPortInLeft, in.data());
    plugin.connect(kPortOutLeft, out.data());
    plugin.play(static_cast<std::uint32_t>(sound.size()), kHostWords[choice >> 2 & 3]);
    for (std::size_t i = 0; i < sound.size(); ++i) {
      expect(sameNumber(in[i], sound[i]), "an input is changed");
      if (std::isfinite(sound[i])) expect(std::isfinite(out[i]), "a finite sample comes out as none");
    }
  }

  // Outputs of their own, or the inputs in either order.
  void playStereo(int samples, int choice, Buffer& wantedLeft, Buffer& wantedRight) {
    Buffer inLeft(samples), inRight(samples), outLeft(samples), outRight(samples);
    copy(left, inLeft);
    copy(right, inRight);
    const bool isInPlace = (choice & 1) != 0, isCrossed = isInPlace && (choice & 2) != 0;
    Buffer& gotLeft = isCrossed ? inRight : isInPlace ? inLeft : outLeft;
    Buffer& gotRight = isCrossed ? inLeft : isInPlace ? inRight : outRight;
    connectAudio(inLeft.data(), inRight.data(), gotLeft.data(), gotRight.data());
    plugins[0]->play(samples, kHostWords[choice & 3]);
    for (int i = 0; i < samples; ++i)
      expect(sameNumber(gotLeft[i], wantedLeft[i]) && sameNumber(gotRight[i], wantedRight[i]),
             "stereo is not twice mono");
  }

  // An audio port leads nowhere: nothing is written, and nothing has happened.
  void playUnconnected(int samples, int choice) {
    Buffer in(samples), out(samples);
    copy(left, in);
    float* ports[] = {in.data(), in.data(), out.data(), out.data()};
    ports[choice & 3] = nullptr;
    connectAudio(ports[0], ports[1], ports[2], ports[3]);
    const std::vector<float> before(out.data(), out.data() + samples);
    plugins[0]->play(samples, kHostWords[choice & 3]);
    for (int i = 0; i < samples; ++i)
      expect(sameNumber(out[i], before[i]), "an instance without all its ports writes");
  }

  void connectAudio(float* inLeft, float* inRight, float* outLeft, float* outRight) {
    plugins[0]->connect(kPortInLeft, inLeft);
    plugins[0]->connect(kPortInRight, inRight);
    plugins[0]->connect(kPortOutLeft, outLeft);
    plugins[0]->connect(kPortOutRight, outRight);
  }

  ScriptBytes& script;
  HostFeatures host;
  std::array<std::unique_ptr<Plugin>, 3> plugins; // stereo, its left channel, its right one
  std::array<float, 8> values = {0.0f, 0.0f, 1.0f, 0.0f, 4.0f, 0.8f, 0.0f}; // of the control ports, by number
  std::vector<float> left, right;
  int samplesLeft = kMostSamples, activationsLeft = kMostActivations;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  expect(!lv2_descriptor(2), "a third plug-in");
  ScriptBytes script(data, size);
  BundleScript(script).play();
  return 0;
}
