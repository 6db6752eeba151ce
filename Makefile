# Two commands: `make run` and `make test`. Each does everything on a fresh Debian 12, as root or with sudo.

BUILD ?= build/release
JOBS  ?= $(shell nproc)
ZARN   = $(BUILD)/zarn

.PHONY: all run test bench asan tsan fuzz coverage format tidy clean

all: build

$(BUILD)/build.ninja:
	@tools/setup.sh
	@cmake --preset release -B $(BUILD) > $(BUILD).log 2>&1 || { cat $(BUILD).log >&2; exit 1; }

.PHONY: build
build: $(BUILD)/build.ninja
	@cmake --build $(BUILD) --target zarn -j $(JOBS)

# the DC motor: prints the last values and writes out/motor.csv
run: build
	@mkdir -p out
	$(ZARN) run examples/motor/motor.json -w examples/motor/workspace.py -o out/motor.csv

test: $(BUILD)/build.ninja
	@cmake --build $(BUILD) -j $(JOBS)
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

bench: $(BUILD)/build.ninja
	@cmake --build $(BUILD) --target bench_all -j $(JOBS)
	tools/bench.sh $(BUILD)

# the suite under address and undefined behaviour sanitizers
asan:
	@tools/setup.sh
	cmake --preset asan && cmake --build build/asan -j $(JOBS)
	ctest --test-dir build/asan -j $(JOBS) --output-on-failure

# the threaded tests under the thread sanitizer
tsan:
	@tools/setup.sh
	cmake --preset tsan && cmake --build build/tsan -j $(JOBS) --target test_core test_exec
	ctest --test-dir build/tsan -j $(JOBS) --output-on-failure -R '^(core|exec)\.'

fuzz:
	tools/fuzz.sh

coverage:
	tools/coverage.sh

format:
	git ls-files '*.cpp' '*.h' '*.inl' '*.c' ':!tests/golden' ':!tests/data' | xargs clang-format -i

tidy:
	tools/tidy.sh

clean:
	rm -rf build out
