#include "EndlessText.h"

#include <algorithm>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

EndlessText::EndlessText(const std::string& bytes) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t readable = (bytes.size() / page + 1) * page;
  mapped = readable + page;
  void* const memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no pages");
  pages = static_cast<char*>(memory);
  if (mprotect(pages + readable, page, PROT_NONE) != 0) throw std::runtime_error("no guard page");
  begin = pages + readable - bytes.size();
  std::copy(bytes.begin(), bytes.end(), begin);
}

EndlessText::~EndlessText() { munmap(pages, mapped); }
