#include "Linux/System/StandardErrorLog.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <array>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace pellaro {
namespace {

using test::exitOfChild;

/// Makes standard error the writing end of something and gives back the reading end.
int redirected(bool isSeqpacket) {
    std::array<int, 2> ends{};
    const int result = isSeqpacket ? socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) : pipe(ends.data());
    EXPECT_EQ(result, 0);
    EXPECT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    close(ends[1]);
    return ends[0];
}

TEST(StandardErrorLog, WritesALineAndItsLineFeedInOnePiece) {
    EXPECT_EQ(exitOfChild([] {
                  const int packets = redirected(true); // one packet per write
                  StandardErrorLog log;
                  log.write("[Pellaro] first %s");
                  log.write("");
                  std::array<char, 256> buffer{};
                  ssize_t length = read(packets, buffer.data(), buffer.size());
                  EXPECT_EQ(std::string(buffer.data(), std::size_t(length)), "[Pellaro] first %s\n");
                  length = read(packets, buffer.data(), buffer.size());
                  EXPECT_EQ(std::string(buffer.data(), std::size_t(length)), "\n");
              }),
              0);
}

TEST(StandardErrorLog, KeepsLinesOfSeveralThreadsApart) {
    EXPECT_EQ(exitOfChild([] {
                  test::TemporaryFolder folder;
                  const int file = open(folder.path("lines").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
                  dup2(file, STDERR_FILENO);
                  StandardErrorLog log;
                  constexpr int linesEach = 500;
                  std::vector<std::thread> threads;
                  for (const char letter : {'a', 'b', 'c', 'd'})
                      threads.emplace_back([&log, letter] {
                          for (int line = 0; line < linesEach; ++line)
                              log.write(std::string(80, letter));
                      });
                  for (auto &thread : threads)
                      thread.join();
                  std::ifstream lines(folder.path("lines"));
                  int count = 0;
                  for (std::string line; std::getline(lines, line); ++count)
                      EXPECT_EQ(line, std::string(80, line[0]));
                  EXPECT_EQ(count, 4 * linesEach);
              }),
              0);
}

TEST(StandardErrorLog, SurvivesAReaderThatHasGone) {
    EXPECT_EQ(exitOfChild([] {
                  signal(SIGPIPE, SIG_DFL); // would end the process
                  close(redirected(false));
                  StandardErrorLog log;
                  log.write("nobody reads this");
                  sigset_t pending;
                  sigpending(&pending);
                  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
                  sigset_t blocked;
                  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
                  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
              }),
              0);
}

TEST(StandardErrorLog, StaysOutOfAFileThatGotTheNumberOfAClosedStandardError) {
    EXPECT_EQ(exitOfChild([] {
                  test::TemporaryFolder folder;
                  close(STDERR_FILENO);
                  StandardErrorLog log;
                  const int file = open(folder.path("clip").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
                  EXPECT_EQ(file, STDERR_FILENO);
                  log.write("not into the user's file");
                  EXPECT_EQ(test::readFile(folder.path("clip")), "");
              }),
              0);
}

TEST(StandardErrorLog, IgnoresAFullDevice) {
    EXPECT_EQ(exitOfChild([] {
                  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
                  EXPECT_EQ(dup2(full, STDERR_FILENO), STDERR_FILENO);
                  StandardErrorLog log;
                  log.write("no room");
              }),
              0);
}

void ignoreSignal(int) {}

TEST(StandardErrorLog, FinishesALineThatASignalInterrupts) {
    EXPECT_EQ(exitOfChild([] {
                  const int reader = redirected(false);
                  const int capacity = fcntl(STDERR_FILENO, F_GETPIPE_SZ);
                  const std::string filler(std::size_t(capacity), 'x');
                  EXPECT_EQ(write(STDERR_FILENO, filler.data(), filler.size()), capacity); // the next write has to wait
                  struct sigaction action {};
                  action.sa_handler = ignoreSignal; // without SA_RESTART: a waiting call ends with EINTR
                  sigaction(SIGUSR1, &action, nullptr);

                  StandardErrorLog log;
                  std::atomic<bool> isWritten = false;
                  std::thread writer([&] {
                      log.write("after the signal");
                      isWritten = true;
                  });
                  for (int signals = 0; signals < 200; ++signals) {
                      pthread_kill(writer.native_handle(), SIGUSR1);
                      std::this_thread::yield();
                  }
                  EXPECT_FALSE(isWritten);
                  std::string text;
                  std::string piece(65536, '\0');
                  while (!text.ends_with('\n')) {
                      const ssize_t length = read(reader, piece.data(), piece.size());
                      ASSERT_GT(length, 0);
                      text.append(piece, 0, std::size_t(length));
                  }
                  writer.join();
                  EXPECT_EQ(text, filler + "after the signal\n");
              }),
              0);
}

} // namespace
} // namespace pellaro
