// Two writers and a reader at one database, and 200 kills at random moments: nothing is lost, nothing is torn.
#include <gmock/gmock.h>
#include <semaphore.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <map>
#include <random>

#include "support/stepped_process.h"
#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;

constexpr int kKills = 200;
constexpr int kWriters = 2;
constexpr int kBodies = 2;  // of each writer
constexpr int kRecords = 5;
constexpr int kRecordWords = 3000;

// What a writer has begun to store and what it has been told is stored, for each of its bodies. Memory that the
// processes share.
struct Progress {
  std::atomic<int> begun[kWriters][kBodies];
  std::atomic<int> stored[kWriters][kBodies];
  std::atomic<int> bodies_read;
  std::atomic<bool> ends;
  sem_t news;  // posted for each body that has been stored and for each round of reading
};
static_assert(std::atomic<int>::is_always_lock_free);

std::string label_of(int writer, int body) {
  return "writer " + std::to_string(writer) + ", body " + std::to_string(body);
}

bool store_generation(int writer, int body, int generation) {
  return put_generation("selabel='" + label_of(writer, body) + "'", generation, kRecords, kRecordWords);
}

int write_on(Progress &progress, int writer) {
  for (int round = 0; !progress.ends; ++round) {
    const int body = round % kBodies;
    const int generation = progress.begun[writer][body] + 1;
    progress.begun[writer][body] = generation;
    if (!store_generation(writer, body, generation)) return 1;
    progress.stored[writer][body] = generation;
    sem_post(&progress.news);
  }
  return 0;
}

// The generation of a whole body; -1 for a torn one.
int generation_of(const db_block &block) {
  std::vector<int> values(kRecordWords);
  int generation = -1;
  for (int i = 0; i < kRecords; ++i) {
    if (i > 0 && DB_SkipRecord(block) == 0) return -1;
    if (DB_ReadINTs(block, values.data(), kRecordWords) == 0) return -1;
    if (i == 0) generation = values[0];
    for (const int value : values)
      if (value != generation) return -1;
  }
  return DB_SkipRecord(block) == 0 ? generation : -1;
}

// Looks at every body once. False when one is lost, torn, or not what its writer has stored.
bool all_sound(Progress &progress) {
  std::array<std::array<int, kBodies>, kWriters> least{};
  for (int writer = 0; writer < kWriters; ++writer)
    for (int body = 0; body < kBodies; ++body)
      least[static_cast<std::size_t>(writer)][static_cast<std::size_t>(body)] = progress.stored[writer][body];
  const int bodies = static_cast<int>(DB_BodyBrowser(kMaster, 0, nullptr));
  std::map<std::string, int> present;
  for (int index = 1; index <= bodies; ++index) {
    char text[DB_BROWSER_TEXT];
    DB_BodyBrowser(kMaster, index, text);
    const db_block block{DB_OpenDatablk(kMaster, index, nullptr), {0, 0}};
    if (block.unit == 0) return false;
    const std::string description = text;
    present[description.substr(9, description.find('\'', 9) - 9)] = generation_of(block);
    DB_CloseDatablk(block.unit);
    ++progress.bodies_read;
  }
  for (int writer = 0; writer < kWriters; ++writer)
    for (int body = 0; body < kBodies; ++body) {
      const int stored = least[static_cast<std::size_t>(writer)][static_cast<std::size_t>(body)];
      const auto place = present.find(label_of(writer, body));
      const int there = place == present.end() ? 0 : place->second;
      if (there < stored || there > progress.begun[writer][body]) return false;
    }
  return true;
}

int read_on(Progress &progress) {
  while (!progress.ends) {
    if (!fs::exists(kMaster)) continue;
    if (CDB_LoadLibrary() == 0 || DB_StartBase() == 0) return 1;
    for (int i = 0; i < 10 && !progress.ends; ++i) {
      if (!all_sound(progress)) return 2;
      sem_post(&progress.news);
    }
    DB_TermBase();
  }
  return 0;
}

class StoreCrashTest : public StoreTest {
 protected:
  StoreCrashTest() {
    void *memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    progress = new (memory) Progress{};
    if (sem_init(&progress->news, 1, 0) != 0) std::abort();
  }
  ~StoreCrashTest() override { munmap(progress, sizeof(Progress)); }
  // Waits for news until `reached` is true. False when there have been none for a minute.
  template <class Condition>
  bool wait_until(Condition reached) {
    while (!reached()) {
      timespec deadline{};
      clock_gettime(CLOCK_REALTIME, &deadline);
      deadline.tv_sec += 60;
      if (sem_timedwait(&progress->news, &deadline) != 0 && errno != EINTR) return false;
    }
    return true;
  }
  [[nodiscard]] int stored(int writer) const {
    int sum = 0;
    for (const std::atomic<int> &body : progress->stored[writer]) sum += body;
    return sum;
  }
  std::unique_ptr<Companion> start(const std::function<int()> &work) {
    auto companion = std::make_unique<Companion>(work);
    companion->start();
    return companion;
  }
  Progress *progress;
};

TEST_F(StoreCrashTest, TwoHundredKillsLoseNothingAndTearNothing) {
  std::mt19937 random(20240915);
  std::uniform_int_distribution<int> bodies(0, 2);
  std::uniform_int_distribution<int> calls(0, 300);
  std::array<std::unique_ptr<Companion>, kWriters> writers;
  for (int writer = 0; writer < kWriters; ++writer)
    writers[static_cast<std::size_t>(writer)] = start([&, writer] { return write_on(*progress, writer); });
  const auto reader = start([&] { return read_on(*progress); });
  for (int kills = 0; kills < kKills; ++kills) {
    const int victim = static_cast<int>(random() % kWriters);
    std::unique_ptr<Companion> &writer = writers[static_cast<std::size_t>(victim)];
    const int enough = stored(victim) + bodies(random);
    ASSERT_TRUE(wait_until([&] { return stored(victim) >= enough; })) << "nothing happens before kill " << kills;
    {
      SteppedProcess steps(writer->process());
      steps.pass(calls(random));
      kill(writer->process(), SIGKILL);
    }
    ASSERT_EQ(writer->finish(), -1) << "a writer failed before kill " << kills;
    writer = start([&, victim] { return write_on(*progress, victim); });
  }
  ASSERT_TRUE(wait_until([&] { return stored(0) > 20 && stored(1) > 20 && progress->bodies_read > 20; }));
  progress->ends = true;
  for (const auto &writer : writers) EXPECT_EQ(writer->finish(), 0);
  EXPECT_EQ(reader->finish(), 0);
  EXPECT_GT(progress->bodies_read, 20);

  start_reading();
  EXPECT_TRUE(all_sound(*progress));
  EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), static_cast<unsigned>(kWriters * kBodies));
  end_reading();
  for (int writer = 0; writer < kWriters; ++writer) EXPECT_GT(progress->stored[writer][0], 5);
  EXPECT_EQ(DB_CheckDBset(kMaster), 0);
  EXPECT_LT(fs::file_size("wing.DBALL"), 40U * kRecords * kRecordWords * 8U);
  EXPECT_TRUE(log.take().empty());
}

}  // namespace
}  // namespace sbrtest

#endif
