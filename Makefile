# Entry points for newcomers and CI. Each target installs the Debian packages
# it needs when they are missing, then configures and builds with CMake.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DOMTEXT_WERROR=ON
endif

.PHONY: all deps build demo test test-sanitize bench install clean fuzz

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

# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer,
# stopping at the first report.
SANITIZE_BUILD ?= build-sanitize
test-sanitize: deps
	cmake -S . -B $(SANITIZE_BUILD) -DCMAKE_BUILD_TYPE=Debug -DOMTEXT_SANITIZE=ON \
	  -DOMTEXT_BUILD_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD)

# Fuzzing (clang-14, libFuzzer): the saved corpus in fuzz/corpus as a
# regression pass, then each target for FUZZ_SECONDS. FUZZ_MERGE=1 folds new
# coverage back into fuzz/corpus.
FUZZ_SECONDS ?= 60
fuzz:
	JOBS=$(JOBS) FUZZ_CMAKE_FLAGS="$(CMAKE_FLAGS)" scripts/fuzz.sh $(FUZZ_SECONDS)
