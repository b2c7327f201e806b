# The two commands: `make run` and `make test`. Both install what is missing first.
# `make help` lists every target.
BUILD      ?= build
TEST_BUILD ?= build-test
JOBS       ?= 2
DEMO_HOME  ?= $(CURDIR)/demo
PACKAGES   := cmake g++ make clang-tidy qt6-base-dev qt6-serialport-dev qt6-charts-dev libgl-dev \
              libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth \
              desktop-file-utils appstream man-db lintian dpkg-dev file xdotool x11-utils ser2net \
              at-spi2-core python3-pyatspi dbus-daemon qt6-base-private-dev lirc \
              python3-serial gdb python3 ansible yamllint python3-voluptuous python3-pycodestyle \
              python3-venv clang-format
SUDO       := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# How each build is configured, written once: the release build, and the test build (warning-clean,
# under AddressSanitizer and UBSan).
RELEASE_CMAKE := -DCMAKE_BUILD_TYPE=RelWithDebInfo
TEST_CMAKE    := -DCMAKE_BUILD_TYPE=Debug -DTELVO_WERROR=ON -DTELVO_SANITIZE=ON
CONFIGURE_RELEASE = cmake -S . -B $(BUILD) $(RELEASE_CMAKE) >/dev/null
CONFIGURE_TEST    = cmake -S . -B $(TEST_BUILD) $(TEST_CMAKE) >/dev/null

# The leak checker's suppressions (leaks inside Qt itself) for what the recipes run; the tests that
# ctest runs get theirs from tests/CMakeLists.txt.
export LSAN_OPTIONS := suppressions=$(CURDIR)/tests/lsan.supp

.PHONY: all help deps build build-test run test lint format format-check bench demo clean fuzz \
        package sweep sweep-kill latency soak

all: build ## the release build (the default)

# Each target's line after "##" is what `make help` shows.
help: ## this list
	@awk -F':[^#]*## ' '/^[a-z][a-z-]*:[^=]*## / {printf "  %-13s %s\n", $$1, $$2}' $(MAKEFILE_LIST)

deps: ## install the Debian packages the build and the tests need
	@missing=""; for p in $(PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; fi

build: deps ## the release build (in build/)
	$(CONFIGURE_RELEASE) -DBUILD_TESTING=ON
	cmake --build $(BUILD) -j$(JOBS)

build-test: deps ## the test build: warnings are errors, ASan and UBSan on (in build-test/)
	$(CONFIGURE_TEST)
	cmake --build $(TEST_BUILD) -j$(JOBS)

test: build-test ## every ctest entry on the test build
	cd $(TEST_BUILD) && ctest --output-on-failure -j$(JOBS)

# Not part of `make test` (a short subset of it is): the firmware loader's cut sweep, every cut
# point and way, in SWEEP_JOBS processes; the table goes to docs/firmware-sweep.txt.
# Under the sanitizers by default; `make sweep SWEEP_BUILD=$(BUILD) SWEEP_CMAKE=-DCMAKE_BUILD_TYPE=RelWithDebInfo`
# runs it on the release build, about twice as fast (some 40 min for the whole product on one core).
SWEEP_JOBS  ?= $(JOBS)
SWEEP_BUILD ?= $(TEST_BUILD)
SWEEP_CMAKE ?= $(TEST_CMAKE)
sweep: deps ## the firmware loader's cut sweep, every point and way (docs/firmware-sweep.txt)
	cmake -S . -B $(SWEEP_BUILD) $(SWEEP_CMAKE) >/dev/null
	cmake --build $(SWEEP_BUILD) --target sweep_fw -j$(JOBS)
	bash tools/run-sweep.sh $(SWEEP_BUILD) $(SWEEP_JOBS) docs/firmware-sweep.txt

# The same cuts with a real SIGKILL: the program as its own process over a pseudo-terminal to a
# vorix-sim process, on the wall clock (30-45 s a case, mostly the line's own pace, so more
# processes than cores is fine). Every point once with the ways in turn unless SWEEP=full; the
# table goes to docs/firmware-sweep-kill.txt.
sweep-kill: deps ## the cut sweep with a real SIGKILL over a pseudo-terminal
	$(CONFIGURE_TEST)
	cmake --build $(TEST_BUILD) --target sweep_kill vorix-sim -j$(JOBS)
	SWEEP=$${SWEEP:-points} bash tools/run-sweep.sh $(TEST_BUILD) $(SWEEP_JOBS) docs/firmware-sweep-kill.txt sweep_kill

# Not part of `make test` (a one-minute subset is): SOAK_MINUTES of command-line jobs and the
# windows' refresh against vorix-sim devices (pseudo-terminals and ser2net) with faults at random
# moments, on the release build; the table, one row a minute, goes to $(BUILD)/soak.txt. Then
# SOAK_STARTS starts and ends of the installed program on a virtual display (cores and backtraces
# of any that dies in $(BUILD)/soak-starts/).
SOAK_MINUTES ?= 10
SOAK_STARTS  ?= 100
soak: deps ## SOAK_MINUTES of jobs with faults, then SOAK_STARTS starts (build/soak.txt)
	$(CONFIGURE_RELEASE) -DBUILD_TESTING=ON
	cmake --build $(BUILD) --target telvo telvo-cli vorix-sim telvo-soak-app telvo_dist_files -j$(JOBS)
	python3 tools/soak.py --build $(BUILD) --minutes $(SOAK_MINUTES) --out $(BUILD)/soak.txt \
	  --details $(BUILD)/soak-details.txt
	bash -o pipefail -c 'bash tools/soak-starts.sh $(BUILD) $(SOAK_STARTS) 2>&1 | tee -a $(BUILD)/soak.txt'

# Not part of `make test`: libFuzzer over every fuzz target, FUZZ_SECONDS each, with clang. The
# libraries under test are instrumented too (fuzzer-no-link), under ASan and UBSan.
FUZZ_BUILD   ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_PACKAGES := clang libclang-rt-14-dev
fuzz: deps ## libFuzzer over every fuzz target, FUZZ_SECONDS each, with clang (in build-fuzz/)
	@missing=""; for p in $(FUZZ_PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; fi
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_CXX_FLAGS="-O1" -DTELVO_SANITIZE=ON \
	  -DTELVO_LIBFUZZER=ON >/dev/null
	cmake --build $(FUZZ_BUILD) --target telvo_fuzz_all -j$(JOBS)
	FUZZ_SECONDS=$(FUZZ_SECONDS) bash tools/run-fuzz.sh $(FUZZ_BUILD)

# The lint CI runs: clang-tidy with the project's checks over every source file of the program and
# the emulator that the compile database knows (so no folder is ever missed). Any finding fails it,
# and what clang-tidy says goes to the terminal (less its "N warnings generated." counts of the
# warnings its checks leave out). With FORMAT_CHECK=1 the formatting is checked first.
FORMAT_CHECK ?= 1
lint: SHELL := /bin/bash
lint: .SHELLFLAGS := -o pipefail -c
lint: build-test ## clang-tidy over src and sim, any finding fails (FORMAT_CHECK=1: formatting too)
	@if [ "$(FORMAT_CHECK)" = 1 ]; then $(MAKE) --no-print-directory format-check; fi
	sed -n 's/^ *"file": "\(.*\)",*$$/\1/p' $(TEST_BUILD)/compile_commands.json | \
	  grep -E '^$(CURDIR)/(src|sim)/.*\.cpp$$' | sort -u | \
	  xargs -P$(JOBS) -n4 clang-tidy -p $(TEST_BUILD) --quiet --extra-arg=-Wno-error \
	  --warnings-as-errors='*' 2>&1 | sed -u '/^[0-9]* warnings\{0,1\} generated\.$$/d'

# The C++ files the project's .clang-format covers.
FORMAT_DIRS  := src sim tests tools bench
FORMAT_FILES  = find $(FORMAT_DIRS) -type f \( -name '*.cpp' -o -name '*.h' \) | sort

format: ## rewrite every C++ file of src sim tests tools bench with clang-format
	$(FORMAT_FILES) | xargs clang-format -i

format-check: ## fail on any C++ file clang-format would change (lint runs it if FORMAT_CHECK=1)
	$(FORMAT_FILES) | xargs clang-format --dry-run --Werror

demo: build ## the demo home folder: the sample Telvo.ini and firmware files (demo/)
	bash tools/make-demo-home.sh $(BUILD) $(DEMO_HOME)

run: demo ## the program on the demo home, talking to the device emulator
	bash tools/run-demo.sh $(BUILD) $(DEMO_HOME)

bench: build ## the benchmarks' ratios and the start-up time, on the release build
	bash tools/run-bench.sh $(BUILD)
	bash tools/bench-startup.sh $(BUILD)

# Not part of `make test` (the round trips 0 and 300 ms and the hang-ups are): every job (start-up
# and refresh, save and restore, a firmware load) at every round trip, 0, 50, 150 and 300 ms with a
# jitter of a third, through the tests' delaying proxy in front of ser2net. Some 10 minutes.
latency: deps ## every job at round trips of 0, 50, 150 and 300 ms through ser2net
	$(CONFIGURE_TEST)
	cmake --build $(TEST_BUILD) --target test_latency_e2e vorix-sim -j$(JOBS)
	cd $(TEST_BUILD)/tests/link && QT_QPA_PLATFORM=offscreen TELVO_SOURCE_DIR=$(CURDIR) \
	  TELVO_BINARY_DIR=$(abspath $(TEST_BUILD)) ./test_latency_e2e

# The Debian package from the release build: CPack (dependencies by dpkg-shlibdeps), then
# lintian, then the package unpacked into a temporary root and its telvo --version run. Without the
# tests (nor GoogleTest); `make build` and `make soak` turn them on again in the same folder.
package: deps ## the Debian package from the release build, checked by lintian and a trial install
	$(CONFIGURE_RELEASE) -DBUILD_TESTING=OFF
	cmake --build $(BUILD) --target telvo telvo-cli vorix-sim telvo_dist_files -j$(JOBS)
	rm -f $(BUILD)/telvo_*.deb
	cd $(BUILD) && cpack -G DEB
	bash tools/check-package.sh $(BUILD)/telvo_*.deb

clean: ## remove every build folder (build, build-test, build-fuzz, any build*) and demo/
	rm -rf $(sort $(BUILD) $(TEST_BUILD) $(FUZZ_BUILD) $(SWEEP_BUILD) $(patsubst %/,%,$(wildcard build*/))) \
	  $(DEMO_HOME)
