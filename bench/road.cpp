// The stations of a line's road, each on its own: cutting it into tokens, encoding it, adding its bytes to a buffer,
// burning the buffers; and the way back, decoding the bytes. Everything happens in memory: no disk, and a console that
// nobody looks at. The figures are for a line, or for a label's chunk.
#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "script/smart_string.h"
#include "tests/session.h"

namespace tidewright {
namespace {

// A session's log grows with every line, so each one is given so many, and made anew outside of the clock.
constexpr int kLines = 2000;
constexpr int kChunk = 20;  // lines behind a label

constexpr std::array<std::string_view, 4> kCode = {"setvar 0x4001 250", "walk 12 0x1F", "callpart harbour3", "face 2"};

constexpr std::string_view kDatabase =
    "#addcmmd setvar 0x12\n#addparm 1\n#addparm 1\n"
    "#addcmmd walk 0x05\n#addparm 0\n#addparm 0\n"
    "#addcmmd callpart 0x40\n#addparm 3\n"
    "#addcmmd face 0x07\n#addparm 0\n#do\n";

std::string_view code(int i) {
  return kCode[static_cast<std::size_t>(i) % kCode.size()];
}

std::unique_ptr<Session> session_with_database() {
  auto session = std::make_unique<Session>();
  session->console.Visible(false);
  session->machine.add_file("/desk/commands.psh", kDatabase);
  session->machine.add_file("/desk/game.bin", "");
  session->run("#include commands.psh");
  return session;
}

/// Takes the time of `work` with a session that `prepare` made ready, again and again.
template <class Prepare, class Work>
void with_sessions(benchmark::State& state, std::int64_t items, const Prepare& prepare, const Work& work) {
  for (auto _ : state) {
    state.PauseTiming();
    std::unique_ptr<Session> session = session_with_database();
    prepare(*session);
    state.ResumeTiming();
    work(*session);
    state.PauseTiming();
    if (session->shared->file_handle.troubled()) state.SkipWithError("a line was not understood");
    session.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * items);
}

void tokenizing(benchmark::State& state, std::string_view text) {
  for (auto _ : state) {
    SmartString statement;
    std::string line(text);
    statement.kaTrim(line);
    statement.kaSplit(statement.values(0), ' ');
    benchmark::DoNotOptimize(statement.last());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(tokenizing, plain, "setvar 0x4001 250");
BENCHMARK_CAPTURE(tokenizing, comment, "walk 12 0x1F ' to the quay, then left");
BENCHMARK_CAPTURE(tokenizing, indented, "\t  callpart   harbour3");
BENCHMARK_CAPTURE(tokenizing, directive, "#org harbour3.0x8000 3");

void encoding(benchmark::State& state) {
  with_sessions(
      state, kLines, [](Session&) {},
      [](Session& session) {
        std::string bytes;
        std::string pointers;
        for (int i = 0; i < kLines; ++i) {
          bytes = code(i);
          benchmark::DoNotOptimize(session.shared->cmd_list.encode(bytes, pointers, 1));
        }
      });
}
BENCHMARK(encoding)->Unit(benchmark::kMicrosecond);

void adding_data(benchmark::State& state) {
  with_sessions(
      state, kLines, [](Session&) {},
      [](Session& session) {
        FileBuffer& buffers = session.shared->file_buffer;
        for (int i = 0; i < kLines; ++i) {
          buffers.inbuffer(static_cast<std::uint8_t>(i % FileBuffer::kLabelSets));
          if (i % kChunk == 0) buffers.inname(cat({"harbour", i}));
          buffers.add_Data("\x40!PTR", "harbour3,1,3");
        }
      });
}
BENCHMARK(adding_data)->Unit(benchmark::kMicrosecond);

void whole_lines(benchmark::State& state) {
  with_sessions(
      state, kLines, [](Session&) {},
      [](Session& session) {
        for (int i = 0; i < kLines; ++i) session.shared->control.pending(std::string(code(i)));
      });
}
BENCHMARK(whole_lines)->Unit(benchmark::kMicrosecond);

void decoding(benchmark::State& state) {
  with_sessions(
      state, kLines, [](Session&) {},
      [](Session& session) {
        CmdList& commands = session.shared->cmd_list;
        std::string code_bytes;
        std::string pointers;
        for (int i = 0; i < 4; ++i) {
          std::string bytes(code(i));
          commands.encode(bytes, pointers, 1);
          code_bytes += bytes;
        }
        for (int i = 0; i < kLines; i += 4) {
          std::string text = code_bytes;
          commands.decode(text, pointers, false);
          benchmark::DoNotOptimize(text);
        }
      });
}
BENCHMARK(decoding)->Unit(benchmark::kMicrosecond);

void burning(benchmark::State& state) {
  with_sessions(
      state, kLines / kChunk,
      [](Session& session) {
        session.run("#kapush harbour0 0x1000");
        for (int i = 0; i < kLines; ++i) {
          if (i % kChunk == 0) session.run(cat({"#org harbour", i / kChunk}));
          session.run(std::string(code(i)));
        }
      },
      [](Session& session) { session.shared->control.pending("#kapop game.bin"); });
}
BENCHMARK(burning)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tidewright
