// Fits the folded lines of one cell to the rows the cell must fill by joining
// the neighbouring pair whose join is shortest, again and again. Works on
// line lengths only and reports which input lines make up each output line,
// so the caller builds every output string once. Used by OmWinStringFolder;
// an object keeps its working storage between calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class OmLineJoiner {
 public:
  // How the shortest pair is found. Scan walks all lines for every join;
  // Queue keeps the candidates in a tournament tree; Cycle keeps them in a
  // tree that knows, for each way the lines can sit on a repeating pattern
  // of break lines, the shortest join; Bound searches a tree of lower bounds
  // of the joins, good wherever the lines sit, and passes over the lines
  // that cannot beat the best join found (see the .cpp). All give the same
  // result. Auto takes Scan for a few lines, Queue for many lines with few
  // break lines among them, Cycle for many break lines that repeat with a
  // short period, and Bound for many break lines in any other pattern.
  // Cycle and Bound fall back to Scan where they do not apply.
  enum class Method { Auto, Scan, Queue, Cycle, Bound };

  OmLineJoiner();
  ~OmLineJoiner();
  OmLineJoiner(const OmLineJoiner&) = delete;
  OmLineJoiner& operator=(const OmLineJoiner&) = delete;

  // Joins lines of the given byte lengths (two joined lines become one line
  // of both lengths plus one joining blank) while more than rows lines are
  // left that are not break lines. breakLines holds the indices of the empty
  // lines that line breaks produced; they are never shifted after a join:
  // line j is passed over exactly while its current index is a listed one,
  // and the line after a passed-over line is measured with the last line not
  // passed over but joined onto the passed-over line itself. Joining stops early when the shortest
  // join is longer than widthRestriction (unless that is -1). Returns the length of the last join's
  // candidate, or width when nothing was joined.
  //
  // When no pair is a candidate the first two lines are joined with length 0;
  // when there is only one line joining stops (a case that arises only with
  // rows below 1). breakLines that are not strictly ascending indices of
  // lines are honoured as given, always by Scan.
  //
  // Cost, for n lines, J joins and k break lines after a joined pair: Scan
  // takes O(n x J), Queue O((n + J x k) x log n), Cycle O((n + J x p^2) x
  // log n) for break lines repeating with period p (at most 8) after the
  // first few lines. Bound takes O(n log n) time and some 300 bytes a line
  // to set up, and for each join O(v) for the v tree nodes it looks at plus
  // O(d log n) for the d <= 12 lines after the join whose bounds change. v
  // is the nodes whose bound is below the join and that neither sit before
  // the last join nor moved by whole periods of a repeating stretch since
  // their last search: at worst O(n), but a few dozen to a hundred for
  // blank lines between words in every mix measured (see BENCHMARKS.md), so
  // Auto is about O(n log n) on them, not proven so for every input.
  std::int64_t Join(const std::vector<std::int64_t>& lengths,
                    const std::vector<std::int32_t>& breakLines, std::int32_t rows,
                    std::int32_t widthRestriction, std::int64_t width,
                    Method method = Method::Auto);

  // After Join: for every output line, the index of its first input line
  // (ascending; output line i is made of the input lines from Starts()[i]
  // up to the next start), and its length.
  const std::vector<std::int32_t>& Starts() const { return mStarts; }
  const std::vector<std::int64_t>& Lengths() const { return mLengths; }
  // After Join: the method that found the pairs (Scan where the one asked
  // for did not apply; Auto when nothing was joined).
  Method Used() const { return mUsed; }

  // Frees the working storage when it has grown beyond what ordinary cells
  // need.
  void Trim();

 private:
  struct Queue;
  struct Cycle;
  struct Bound;

  std::int64_t JoinByCycle(std::int32_t rows, std::int32_t widthRestriction, std::int64_t width,
                           std::int64_t excess);
  std::int64_t JoinByScan(const std::vector<std::int64_t>& lengths,
                          const std::vector<std::int32_t>& breakLines, std::int32_t rows,
                          std::int32_t widthRestriction, std::int64_t width);

  std::vector<std::int32_t> mStarts;
  std::vector<std::int64_t> mLengths;
  Method mUsed = Method::Auto;
  std::unique_ptr<Queue> mQueue;
  std::unique_ptr<Cycle> mCycle;
  std::unique_ptr<Bound> mBound;
};
