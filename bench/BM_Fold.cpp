// Folding cell text: a short number (the common cell), a long paragraph
// wrapped at width 40, and a cell of many short words folded and joined back
// into one row, with and without paragraph breaks; paragraphs counted in
// terminal columns, of ASCII and of several scripts. Time per byte must stay
// flat as the text grows.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fold/OmFormattedNode.h"
#include "fold/OmWinFormattedNode.h"
#include "fold/OmWinStringFolder.h"
#include "fold/OmWinStringFolderPrivate.h"

namespace {

OmStringFolder::Options Options(OmDisplayWidth measure = OmDisplayWidth::Bytes) {
  OmStringFolder::Options options;
  options.columnSeparator = "|";
  options.rowSeparator = "_";
  options.displayWidth = measure;
  return options;
}

// Words of 1 to 9 letters separated by blanks, about size bytes; with
// breakEvery > 0, a blank line after every breakEvery words.
std::string Words(std::size_t size, std::size_t breakEvery = 0) {
  std::string text;
  std::uint32_t seed = 1;
  std::size_t words = 0;
  while (text.size() < size) {
    seed = seed * 1103515245u + 12345u;
    if (!text.empty()) {
      text += breakEvery > 0 && words % breakEvery == 0 ? "\n\n" : " ";
    }
    text.append(1 + (seed >> 16) % 9, static_cast<char>('a' + (seed >> 8) % 26));
    ++words;
  }
  return text;
}

// A cell of short words: "ab" repeated count times.
std::string ShortWords(std::int64_t count) {
  std::string text;
  text.reserve(static_cast<std::size_t>(count) * 3);
  for (std::int64_t i = 0; i < count; ++i) {
    if (i > 0)
      text += ' ';
    text += "ab";
  }
  return text;
}

void Fold(benchmark::State& state, const std::string& text, std::int32_t width, std::int32_t rows,
          OmDisplayWidth measure = OmDisplayWidth::Bytes) {
  OmWinStringFolder folder(Options(measure));
  std::vector<std::string> lines;
  for (auto _ : state) {
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode(text, 1, rows, 0);
    lines.clear();
    benchmark::DoNotOptimize(folder.SplitString(*node, width, lines, true));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["lines"] = static_cast<double>(lines.size());
}

void BM_OmWinStringFolder_ShortNumber(benchmark::State& state) {
  OmWinStringFolder folder(Options());
  std::vector<std::string> lines;
  for (auto _ : state) {
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode("123.45", 1, 1, 0);
    benchmark::DoNotOptimize(folder.GetMinimumColumnWidth(*node, 0));
    lines.clear();
    benchmark::DoNotOptimize(folder.SplitString(*node, 8, lines, true));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OmWinStringFolder_ShortNumber);

void BM_OmWinStringFolder_TwoWordLabel(benchmark::State& state) {
  // Measured at width 0, every word goes on its own line and is joined back.
  OmWinStringFolder folder(Options());
  std::vector<std::string> lines;
  for (auto _ : state) {
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode("Cumulative Percent", 1, 1, 0);
    benchmark::DoNotOptimize(folder.GetMinimumColumnWidth(*node, 0));
    lines.clear();
    benchmark::DoNotOptimize(folder.SplitString(*node, 18, lines, true));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OmWinStringFolder_TwoWordLabel);

void BM_OmWinStringFolder_Paragraph(benchmark::State& state) {
  // As many rows as the text wraps to, so that nothing is joined.
  const std::string text = Words(static_cast<std::size_t>(state.range(0)));
  OmWinStringFolderPrivate::Data probe(Options());
  OmWinFormattedNode node(text, 1, 1, 0, probe.GetStringLength(text));
  probe.Fold(node, 40);
  Fold(state, text, 40, static_cast<std::int32_t>(probe.lineLengths.size()));
}
BENCHMARK(BM_OmWinStringFolder_Paragraph)->Arg(10 << 10)->Arg(40 << 10);

// The same paragraph counted in terminal columns: ASCII text takes the
// measure's fast path.
void BM_OmWinStringFolder_ParagraphInColumns(benchmark::State& state) {
  const std::string text = Words(static_cast<std::size_t>(state.range(0)));
  OmWinStringFolderPrivate::Data probe(Options(OmDisplayWidth::Columns));
  OmWinFormattedNode node(text, 1, 1, 0, probe.GetStringLength(text));
  probe.Fold(node, 40);
  Fold(state, text, 40, static_cast<std::int32_t>(probe.lineLengths.size()),
       OmDisplayWidth::Columns);
}
BENCHMARK(BM_OmWinStringFolder_ParagraphInColumns)->Arg(10 << 10)->Arg(40 << 10);

// Words of several scripts (accented Latin, Cyrillic, CJK, combining marks),
// counted in columns: every character is decoded.
void BM_OmWinStringFolder_ScriptsInColumns(benchmark::State& state) {
  static const char* const kWords[] = {"Zürich",   "Москва", "東京", "e\xCC\x81t\xC3\xA9",
                                       "대한민국", "naïve"};
  std::string text;
  for (std::size_t i = 0; text.size() < static_cast<std::size_t>(state.range(0)); ++i) {
    if (i > 0)
      text += ' ';
    text += kWords[i % 6];
  }
  OmWinStringFolderPrivate::Data probe(Options(OmDisplayWidth::Columns));
  OmWinFormattedNode node(text, 1, 1, 0, probe.GetStringLength(text));
  probe.Fold(node, 40);
  Fold(state, text, 40, static_cast<std::int32_t>(probe.lineLengths.size()),
       OmDisplayWidth::Columns);
}
BENCHMARK(BM_OmWinStringFolder_ScriptsInColumns)->Arg(10 << 10)->Arg(40 << 10);

void BM_OmWinStringFolder_ParagraphIntoOneRow(benchmark::State& state) {
  Fold(state, Words(static_cast<std::size_t>(state.range(0))), 40, 1);
}
BENCHMARK(BM_OmWinStringFolder_ParagraphIntoOneRow)->Arg(10 << 10)->Arg(40 << 10);

void BM_OmWinStringFolder_ManyWordsIntoOneRow(benchmark::State& state) {
  // Width 0: each word on its own line, then all joined back into one.
  Fold(state, ShortWords(state.range(0)), 0, 1);
}
BENCHMARK(BM_OmWinStringFolder_ManyWordsIntoOneRow)
    ->Arg(25000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void BM_OmWinStringFolder_ParagraphsIntoOneRow(benchmark::State& state) {
  // A blank line after every 50 words: the join passes over break lines.
  Fold(state, Words(static_cast<std::size_t>(state.range(0)), 50), 0, 1);
}
BENCHMARK(BM_OmWinStringFolder_ParagraphsIntoOneRow)
    ->Arg(100 << 10)
    ->Arg(400 << 10)
    ->Unit(benchmark::kMillisecond);

// The worst shape for the join: a 64 KiB cell of short words, each followed
// by a run of blank lines, folded into one row. Every line break is a break
// line that the join passes over, and every join moves the lines after it
// across them. Arguments: a gap, and the pattern of the runs: 1, the gap
// every time (a repeating pattern); 0, from 1 to 2 times the gap at random;
// 2, from 1 to the gap at random; 3, a run of 1 to the gap kept for 2 to 6
// words and then changed; 4, as 0 with one word in four 5 to 40 letters
// long; 5, as 0 folded at width 3 under a width restriction of 3, so that
// joining stops at the first join longer than 3 (here only after most joins;
// cells whose first join is too long are left as they are at once); 6 and
// 7, as 3 with the run kept for 20 to 120 and for 200 to 2000
// words.
std::string WordsBetweenBlankLines(std::int64_t gap, std::int64_t pattern) {
  std::string text;
  std::uint32_t seed = 3;
  auto next = [&seed](std::int64_t n) {
    seed = seed * 1103515245u + 12345u;
    return static_cast<std::int64_t>(seed >> 16) % n;
  };
  std::int64_t run = gap;
  std::int64_t keep = 0;
  while (text.size() < (64u << 10) - 16) {
    seed = seed * 1103515245u + 12345u;
    std::size_t letters = 1 + (seed >> 16) % 3;
    std::int64_t breaks = gap;
    if (pattern == 0 || pattern >= 4)
      breaks = gap + (seed >> 20) % (gap + 1);
    if (pattern == 2)
      breaks = 1 + next(gap);
    if (pattern == 3 || pattern == 6 || pattern == 7) {
      if (keep == 0) {
        run = 1 + next(gap);
        keep = pattern == 3 ? 2 + next(5) : pattern == 6 ? 20 + next(101) : 200 + next(1801);
      }
      --keep;
      breaks = run;
    }
    if (pattern == 4 && next(4) == 0)
      letters = static_cast<std::size_t>(5 + next(36));
    text.append(letters, 'w');
    text.append(static_cast<std::size_t>(breaks) + 1, '\n');
  }
  text += "end";
  return text;
}

void BM_OmWinStringFolder_WordsBetweenBlankLines(benchmark::State& state) {
  const std::string text = WordsBetweenBlankLines(state.range(0), state.range(1));
  if (state.range(1) != 5) {
    Fold(state, text, 10, 1);
    return;
  }
  OmStringFolder::Options options = Options();
  options.widthRestriction = 3;
  OmWinStringFolder folder(options);
  std::vector<std::string> lines;
  for (auto _ : state) {
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode(text, 1, 1, 0);
    lines.clear();
    benchmark::DoNotOptimize(folder.SplitString(*node, 3, lines, true));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["lines"] = static_cast<double>(lines.size());
}
BENCHMARK(BM_OmWinStringFolder_WordsBetweenBlankLines)
    ->Args({1, 1})
    ->Args({2, 1})
    ->Args({4, 1})
    ->Args({1, 0})
    ->Args({4, 0})
    ->Args({8, 2})
    ->Args({4, 3})
    ->Args({1, 4})
    ->Args({1, 5})
    ->Args({4, 5})
    ->Args({2, 6})
    ->Args({4, 6})
    ->Args({4, 7})
    ->Unit(benchmark::kMillisecond);

}  // namespace
