#include "benchmarks/process_pool.h"

#include <fmt/core.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace tarnwick::benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostProcesses = 64;
constexpr std::size_t kMostWaits = 20'000;  // of a process in a run

double seconds_since(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double cpu_seconds() {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

// In memory that all processes see.
struct ProcessPool::Shared {
  struct Results {
    std::size_t updates;
    std::size_t late;  // of them, made when the time was over
    std::size_t reads;
    double cpu;
    std::array<double, kMostWaits> waits;
  };
  std::atomic<bool> stop;
  std::array<Results, kMostProcesses> results;
};

ProcessPool::ProcessPool(int processes, const MakeWorker& make_worker) {
  void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory to share");
  shared_ = static_cast<Shared*>(memory);
  for (int number = 0; number < processes; ++number) {
    int orders[2] = {};
    int answers[2] = {};
    if (pipe(orders) != 0 || pipe(answers) != 0) throw std::runtime_error("pipe failed");
    const pid_t id = fork();
    if (id < 0) throw std::runtime_error("fork failed");
    if (id == 0) {
      // A process ends when nobody can give it orders any more.
      for (const Process& other : processes_) {
        close(other.orders);
        close(other.answers);
      }
      close(orders[1]);
      close(answers[0]);
      serve(number, orders[0], answers[1], make_worker);
    }
    close(orders[0]);
    close(answers[1]);
    processes_.push_back({id, orders[1], answers[0]});
  }
  try {
    for (const Process& process : processes_) await(process);
  } catch (...) {
    end();
    throw;
  }
}

ProcessPool::~ProcessPool() { end(); }

void ProcessPool::end() {
  for (const Process& process : processes_) {
    close(process.orders);
    close(process.answers);
  }
  for (const Process& process : processes_) waitpid(process.id, nullptr, 0);
  munmap(shared_, sizeof(Shared));
}

void ProcessPool::await(const Process& process) {
  char done = 0;
  if (read(process.answers, &done, 1) != 1) throw std::runtime_error("a process has failed");
}

void ProcessPool::serve(int number, int orders, int answers, const MakeWorker& make_worker) {
  try {
    const std::unique_ptr<Worker> worker = make_worker();
    const char done = 0;
    Task task;
    while (write(answers, &done, 1) == 1 && read(orders, &task, sizeof task) == sizeof task) {
      work(number, *worker, task);
    }
    std::_Exit(EXIT_SUCCESS);
  } catch (const std::exception& exception) {
    fmt::print(stderr, "a process failed: {}\n", exception.what());
    std::_Exit(EXIT_FAILURE);
  }
}

void ProcessPool::work(int number, Worker& worker, const Task& task) {
  Shared::Results& results = shared_->results[static_cast<std::size_t>(number)];
  results.updates = 0;
  results.late = 0;
  results.reads = 0;
  const double cpu = cpu_seconds();
  // Writers' rows lie side by side in the table, as do those of PCs that are bought together.
  for (int row = number; !shared_->stop; row = (row + task.processes) % task.rows) {
    if (number >= task.writers) {
      worker.read(row);
      ++results.reads;
      continue;
    }
    const auto begin = Clock::now();
    worker.maintain(task.same_row ? 0 : row);
    if (results.updates < kMostWaits) results.waits[results.updates] = seconds_since(begin);
    ++results.updates;
    // What ends too late has waited all the same, but was not made in the time that is measured.
    if (shared_->stop) ++results.late;
  }
  results.cpu = cpu_seconds() - cpu;
}

Outcome ProcessPool::run(const Task& task) {
  shared_->stop = false;
  const auto begin = Clock::now();
  const auto count = static_cast<std::size_t>(task.processes);
  for (std::size_t i = 0; i < count; ++i) {
    if (write(processes_[i].orders, &task, sizeof task) != sizeof task) {
      throw std::runtime_error("a process takes no orders");
    }
  }
  std::this_thread::sleep_for(std::chrono::duration<double>(task.seconds));
  shared_->stop = true;
  Outcome outcome;
  outcome.seconds = seconds_since(begin);
  for (std::size_t i = 0; i < count; ++i) await(processes_[i]);
  for (std::size_t i = 0; i < count; ++i) {
    const Shared::Results& results = shared_->results[i];
    outcome.reads += results.reads;
    outcome.cpu += results.cpu;
    if (static_cast<int>(i) >= task.writers) continue;
    outcome.updates.push_back(results.updates);
    outcome.late += results.late;
    const auto waits = results.waits.begin();
    const auto kept = static_cast<std::ptrdiff_t>(std::min(results.updates, kMostWaits));
    outcome.waits.insert(outcome.waits.end(), waits, waits + kept);
  }
  return outcome;
}

}  // namespace tarnwick::benchmarks
