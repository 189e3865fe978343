# Entry points for newcomers and CI. Each target installs the Debian packages
# it needs when they are missing, then configures and builds with CMake.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DOMTEXT_WERROR=ON
endif

.PHONY: all deps build demo test install clean

all: build

deps:
	@scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	@$(BUILD)/cli/omtext examples/report.json

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD)
