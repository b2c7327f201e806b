# The two commands: `make run` and `make test`. Both install what is missing first.
BUILD      ?= build
TEST_BUILD ?= build-test
JOBS       ?= 2
DEMO_HOME  ?= $(CURDIR)/demo
PACKAGES   := cmake g++ make clang-tidy qt6-base-dev qt6-serialport-dev qt6-charts-dev libgl-dev \
              libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth \
              desktop-file-utils appstream man-db lintian dpkg-dev file xdotool x11-utils ser2net \
              at-spi2-core python3-pyatspi dbus-daemon qt6-base-private-dev lirc \
              python3-serial gdb python3 ansible yamllint python3-voluptuous python3-pycodestyle \
              python3-venv
SUDO       := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps build build-test run test lint bench demo clean fuzz package sweep sweep-kill latency soak

all: build

deps:
	@missing=""; for p in $(PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; fi

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) -j$(JOBS)

# The test build is warning-clean and runs under AddressSanitizer and UBSan.
build-test: deps
	cmake -S . -B $(TEST_BUILD) -DCMAKE_BUILD_TYPE=Debug -DTELVO_WERROR=ON -DTELVO_SANITIZE=ON >/dev/null
	cmake --build $(TEST_BUILD) -j$(JOBS)

test: build-test
	cd $(TEST_BUILD) && ctest --output-on-failure -j$(JOBS)

# Not part of `make test` (a short subset of it is): the firmware loader's cut sweep, every cut
# point and way, in SWEEP_JOBS processes; the table goes to docs/firmware-sweep.txt.
# Under the sanitizers by default; `make sweep SWEEP_BUILD=$(BUILD) SWEEP_CMAKE=-DCMAKE_BUILD_TYPE=RelWithDebInfo`
# runs it on the release build, about twice as fast (some 40 min for the whole product on one core).
SWEEP_JOBS  ?= $(JOBS)
SWEEP_BUILD ?= $(TEST_BUILD)
SWEEP_CMAKE ?= -DCMAKE_BUILD_TYPE=Debug -DTELVO_WERROR=ON -DTELVO_SANITIZE=ON
sweep: deps
	cmake -S . -B $(SWEEP_BUILD) $(SWEEP_CMAKE) >/dev/null
	cmake --build $(SWEEP_BUILD) --target sweep_fw -j$(JOBS)
	bash tools/run-sweep.sh $(SWEEP_BUILD) $(SWEEP_JOBS) docs/firmware-sweep.txt

# The same cuts with a real SIGKILL: the program as its own process over a pseudo-terminal to a
# vorix-sim process, on the wall clock (30-45 s a case, mostly the line's own pace, so more
# processes than cores is fine). Every point once with the ways in turn unless SWEEP=full; the
# table goes to docs/firmware-sweep-kill.txt.
sweep-kill: deps
	cmake -S . -B $(TEST_BUILD) -DCMAKE_BUILD_TYPE=Debug -DTELVO_WERROR=ON -DTELVO_SANITIZE=ON >/dev/null
	cmake --build $(TEST_BUILD) --target sweep_kill vorix-sim -j$(JOBS)
	SWEEP=$${SWEEP:-points} bash tools/run-sweep.sh $(TEST_BUILD) $(SWEEP_JOBS) docs/firmware-sweep-kill.txt sweep_kill

# Not part of `make test` (a one-minute subset is): SOAK_MINUTES of command-line jobs and the
# windows' refresh against vorix-sim devices (pseudo-terminals and ser2net) with faults at random
# moments, on the release build; the table, one row a minute, goes to $(BUILD)/soak.txt. Then
# SOAK_STARTS starts and ends of the installed program on a virtual display (cores and backtraces
# of any that dies in $(BUILD)/soak-starts/).
SOAK_MINUTES ?= 10
SOAK_STARTS  ?= 100
soak: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) --target telvo telvo-cli vorix-sim telvo-soak-app telvo_dist_files -j$(JOBS)
	python3 tools/soak.py --build $(BUILD) --minutes $(SOAK_MINUTES) --out $(BUILD)/soak.txt \
	  --details $(BUILD)/soak-details.txt
	bash -o pipefail -c 'bash tools/soak-starts.sh $(BUILD) $(SOAK_STARTS) 2>&1 | tee -a $(BUILD)/soak.txt'

# Not part of `make test`: libFuzzer over every fuzz target, FUZZ_SECONDS each, with clang. The
# libraries under test are instrumented too (fuzzer-no-link), under ASan and UBSan.
FUZZ_BUILD   ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_PACKAGES := clang libclang-rt-14-dev
fuzz: deps
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
# the emulator that the compile database knows (so no folder is ever missed).
lint: build-test
	sed -n 's/^ *"file": "\(.*\)",*$$/\1/p' $(TEST_BUILD)/compile_commands.json | \
	  grep -E '^$(CURDIR)/(src|sim)/.*\.cpp$$' | sort -u | \
	  xargs -P$(JOBS) -n4 clang-tidy -p $(TEST_BUILD) --quiet --extra-arg=-Wno-error \
	  --warnings-as-errors='*' 2>/dev/null

demo: build
	bash tools/make-demo-home.sh $(BUILD) $(DEMO_HOME)

run: demo
	bash tools/run-demo.sh $(BUILD) $(DEMO_HOME)

bench: build
	bash tools/run-bench.sh $(BUILD)
	bash tools/bench-startup.sh $(BUILD)

# Not part of `make test` (the round trips 0 and 300 ms and the hang-ups are): every job (start-up
# and refresh, save and restore, a firmware load) at every round trip, 0, 50, 150 and 300 ms with a
# jitter of a third, through the tests' delaying proxy in front of ser2net. Some 10 minutes.
latency: deps
	cmake -S . -B $(TEST_BUILD) -DCMAKE_BUILD_TYPE=Debug -DTELVO_WERROR=ON -DTELVO_SANITIZE=ON >/dev/null
	cmake --build $(TEST_BUILD) --target test_latency_e2e vorix-sim -j$(JOBS)
	cd $(TEST_BUILD)/tests/link && QT_QPA_PLATFORM=offscreen TELVO_SOURCE_DIR=$(CURDIR) \
	  TELVO_BINARY_DIR=$(abspath $(TEST_BUILD)) LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
	  ./test_latency_e2e

# The Debian package from the release build: CPack (dependencies by dpkg-shlibdeps), then
# lintian, then the package unpacked into a temporary root and its telvo --version run.
package: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) --target telvo telvo-cli vorix-sim telvo_dist_files -j$(JOBS)
	rm -f $(BUILD)/telvo_*.deb
	cd $(BUILD) && cpack -G DEB
	bash tools/check-package.sh $(BUILD)/telvo_*.deb

clean:
	rm -rf $(BUILD) $(TEST_BUILD) $(DEMO_HOME)
