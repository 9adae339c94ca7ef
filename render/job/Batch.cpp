#include "render/job/Batch.h"

#include "render/file/OutputFile.h"
#include "render/job/Progress.h"
#include "render/text/Console.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace {

std::string outputName(const std::string& directory, const std::string& input, const SoundType* type) {
  std::filesystem::path name = std::filesystem::path(input).filename();
  const SoundType* const own = typeOfName(input);
  if (type && own != type) name.replace_extension(type->extensions.front());
  if (!type && !own) name += ".wav";
  return std::filesystem::path(directory) / name;
}

std::string nameOfVariant(const std::string& output, const std::string& variant) {
  const std::filesystem::path whole(output);
  const std::string name = whole.stem().string() + "-" + variant + whole.extension().string();
  return whole.parent_path() / name;
}

void refuseDoubles(const std::vector<RenderJob>& jobs) {
  std::map<std::string, std::string> inputOf;
  for (const RenderJob& job : jobs) {
    const auto [other, isNew] = inputOf.emplace(job.outputPath, job.inputPath);
    if (isNew) continue;
    if (other->second == job.inputPath)
      throw Fault(ExitStatus::wrongCall, "input", job.inputPath, "named twice", "name it once");
    throw Fault(ExitStatus::wrongCall, "input", job.inputPath,
                "would become '" + job.outputPath + "', as '" + other->second + "' does",
                "render them into different directories");
  }
}

// A file's identity on the machine; nothing when there is no such file.
std::optional<std::pair<dev_t, ino_t>> identity(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return {};
  return std::pair(status.st_dev, status.st_ino);
}

// An output over its own input is that job's fault alone.
void refuseReplacedInputs(const std::vector<RenderJob>& jobs) {
  std::map<std::pair<dev_t, ino_t>, const RenderJob*> jobOf;
  for (const RenderJob& job : jobs) {
    if (const auto file = identity(job.inputPath)) jobOf.emplace(*file, &job);
  }
  for (const RenderJob& job : jobs) {
    const auto file = identity(job.outputPath);
    const auto other = file ? jobOf.find(*file) : jobOf.end();
    if (other == jobOf.end() || isSameFile(job.outputPath, job.inputPath)) continue;
    throw Fault(ExitStatus::wrongCall, "output", job.outputPath,
                "would replace the input '" + other->second->inputPath + "'", "give another --out-dir");
  }
}

// What came of one job.
struct Result {
  std::optional<RenderStatistics> statistics;
  std::string failure;
  ExitStatus status = ExitStatus::couldNot;
};

class Batch {
public:
  Batch(const std::vector<RenderJob>& list, const RenderSettings& how, const BatchReports& what,
        PitchPicture* watching)
      : jobs(list), settings(how), reports(what), picture(watching), results(list.size()),
        progress(!what.quiet, static_cast<int>(list.size())) {}

  ExitStatus run(int parallel);

private:
  void startHelpers(std::vector<std::jthread>& helpers, std::size_t wanted);
  void work();
  Result runOne(const RenderJob& job);
  void report(std::size_t index, Result result);
  void printNotices(const RenderStatistics& statistics) const;
  void printReadyJson();

  const std::vector<RenderJob>& jobs;
  const RenderSettings& settings;
  const BatchReports& reports;
  PitchPicture* picture;
  std::atomic<std::size_t> nextJob = 0;
  std::mutex held; // for all below
  std::vector<std::optional<Result>> results;
  std::exception_ptr unreported; // why a report could not be printed; no job begins after that
  std::size_t jsonPrinted = 0;   // results
  Progress progress;
};

ExitStatus Batch::run(int parallel) {
  {
    std::vector<std::jthread> helpers;
    startHelpers(helpers, std::min(static_cast<std::size_t>(parallel), jobs.size()) - 1);
    work();
  }
  if (unreported) std::rethrow_exception(unreported);
  const bool allDone = std::all_of(results.begin(), results.end(),
                                   [](const auto& result) { return result->status == ExitStatus::done; });
  if (allDone) return ExitStatus::done;
  return jobs.size() == 1 ? results.front()->status : ExitStatus::couldNot;
}

// Fewer helpers than wanted, where the system grants no more, do the same work.
void Batch::startHelpers(std::vector<std::jthread>& helpers, std::size_t wanted) {
  helpers.reserve(wanted);
  try {
    while (helpers.size() < wanted)
      helpers.emplace_back(&Batch::work, this);
  } catch (const std::exception&) {
    return;
  }
}

void Batch::work() try {
  for (std::size_t index; (index = nextJob++) < jobs.size();)
    report(index, runOne(jobs[index]));
} catch (...) {
  nextJob = jobs.size();
  const std::lock_guard<std::mutex> hold(held);
  if (!unreported) unreported = std::current_exception();
}

Result Batch::runOne(const RenderJob& job) {
  try {
    return {runRenderJob(job, settings, progress, picture), "", ExitStatus::done};
  } catch (const Fault& fault) {
    return {{}, fault.what(), fault.status()};
  } catch (const std::bad_alloc&) {
    return {{}, messageLine("input", job.inputPath, "out of memory; a smaller --block takes less")};
  } catch (const std::exception& error) {
    return {{}, messageLine("input", job.inputPath, error.what())};
  }
}

void Batch::report(std::size_t index, Result result) {
  const std::lock_guard<std::mutex> hold(held);
  if (result.statistics)
    printNotices(*result.statistics);
  else
    printMessage(result.failure);
  results[index] = std::move(result);
  if (reports.json) printReadyJson();
}

void Batch::printNotices(const RenderStatistics& statistics) const {
  if (reports.quiet) return;
  const std::string& named = statistics.outputPath;
  const auto print = [&](const std::string& text) {
    printMessage(named.empty() ? messageLine("input", statistics.inputPath, text)
                               : messageLine("output", named, text));
  };
  for (const std::string& notice : statistics.notices)
    print(notice);
  if (!reports.tellsMore) return;
  for (const std::string& detail : statistics.details)
    print(detail);
  print(statisticsText(statistics));
}

void Batch::printReadyJson() {
  for (; jsonPrinted < results.size() && results[jsonPrinted]; ++jsonPrinted) {
    const RenderJob& job = jobs[jsonPrinted];
    const Result& result = *results[jsonPrinted];
    const std::string line =
        (result.statistics ? statisticsJson(*result.statistics)
                           : failureJson(job.inputPath, job.namedOutputPath, result.failure)) +
        "\n";
    if (reports.jsonAside)
      std::fputs(line.c_str(), stderr);
    else
      printText(line);
  }
}

} // namespace

std::vector<RenderJob> jobsInto(const std::string& directory, const std::vector<std::string>& inputs,
                                const SoundType* type, const std::vector<Variant>& variants) {
  std::vector<RenderJob> jobs;
  for (const std::string& input : inputs) {
    if (input == "-") {
      throw Fault(ExitStatus::wrongCall, "input", input,
                  "the standard input has no name for --out-dir to keep", "name the output instead");
    }
    const std::string output = outputName(directory, input, type);
    const SoundType& fitting = typeFor(output);
    if (variants.empty()) jobs.push_back({input, output, &fitting, output});
    for (const Variant& variant : variants) {
      const std::string name = nameOfVariant(output, variant.name);
      jobs.push_back({input, name, &fitting, name, variant.controls});
    }
  }
  refuseDoubles(jobs);
  refuseReplacedInputs(jobs);
  return jobs;
}

ExitStatus runBatch(const std::vector<RenderJob>& jobs, const RenderSettings& settings, int parallel,
                    const BatchReports& reports, PitchPicture* picture) {
  return Batch(jobs, settings, reports, picture).run(parallel);
}
