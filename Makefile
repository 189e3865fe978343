# Entry points for newcomers and CI. Each target installs the Debian packages
# it needs when they are missing, then configures and builds with CMake.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DOMTEXT_WERROR=ON
endif

.PHONY: all deps build demo test check test-sanitize bench bench-quick install clean fuzz python-install

all: build

deps:
	@scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	@$(BUILD)/cli/omtext examples/quarterly-report.json

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The source checks: includes keep to the layers, and the code is formatted
# as .clang-format says.
check:
	@scripts/install-deps.sh clang-format
	python3 scripts/check-layers.py
	scripts/check-format.sh

# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer,
# stopping at the first report.
SANITIZE_BUILD ?= build-sanitize
test-sanitize: deps
	cmake -S . -B $(SANITIZE_BUILD) -DCMAKE_BUILD_TYPE=Debug -DOMTEXT_SANITIZE=ON \
	  -DOMTEXT_BUILD_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j $(JOBS)

# The Python package installed from the source tree, offline, into a fresh
# virtual environment (VENV) that sees Debian's pandas; then a render in it.
VENV ?= $(BUILD)/venv
python-install: deps
	rm -rf $(VENV)
	/usr/bin/python3 -m venv --system-site-packages $(VENV)
	CMAKE_BUILD_PARALLEL_LEVEL=$(JOBS) $(VENV)/bin/pip install --no-build-isolation --no-index ./python
	cd / && $(abspath $(VENV))/bin/python -c 'import omtext, pandas; \
	  print(omtext.render(omtext.from_dataframe(pandas.DataFrame({"x": [1.5]})), width=80), end="")'

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD)

# Fuzzing (clang-14, libFuzzer): the saved corpus in fuzz/corpus as a
# regression pass, then each target for FUZZ_SECONDS. FUZZ_MERGE=1 folds new
# coverage back into fuzz/corpus.
FUZZ_SECONDS ?= 60
fuzz:
	JOBS=$(JOBS) FUZZ_CMAKE_FLAGS="$(CMAKE_FLAGS)" scripts/fuzz.sh $(FUZZ_SECONDS)

# Side-by-side timings against column -t, tabulate and pandas (bench/compare.sh;
# ROWS="100000" for one size), then the crafted documents that probe the
# render limits (bench/crafted.sh; CRAFTED_SCALE=4 for smaller ones). Not
# part of make test.
ROWS ?= 10000 100000 1000000
CRAFTED_SCALE ?= 1
bench: deps
	bench/compare.sh $(ROWS)
	bench/crafted.sh $(CRAFTED_SCALE)

# The Google Benchmarks of the hot paths at 10,000 rows and the folder cases,
# in Release: a regression guard that runs in under a minute.
BENCH_BUILD ?= build-bench
bench-quick: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DOMTEXT_BUILD_TESTS=OFF >/dev/null
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target BM_Loader BM_Host BM_Fold BM_Export
	@for b in BM_Loader BM_Host BM_Export; do \
	  $(BENCH_BUILD)/bench/$$b --benchmark_filter='/10000$$|rows:10000/' --benchmark_min_time=0.2 || exit 1; \
	done
	$(BENCH_BUILD)/bench/BM_Fold --benchmark_filter='ShortNumber|TwoWordLabel|Paragraph/|ManyWordsIntoOneRow/25000' --benchmark_min_time=0.2
