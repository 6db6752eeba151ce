# Two commands: `make run` and `make test`. Each does everything on a fresh Debian 12, as root or with sudo; where make
# itself is missing, `./make.sh run` and `./make.sh test`.

BUILD ?= build/release
JOBS  ?= $(shell nproc)
ZARN   = $(BUILD)/zarn
ASAN_QUICK = core framework model exec files coder fuzz
ASAN_CORE  = core framework model exec files
# a status of its own: 1 is also that of a command that refuses a model
SANITIZED  = ASAN_OPTIONS=exitcode=99 UBSAN_OPTIONS=print_stacktrace=1:exitcode=99 \
             LSAN_OPTIONS=suppressions=$(CURDIR)/tools/lsan-python.supp:print_suppressions=0:exitcode=99

SANITIZED_CORE = -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DBLOCKS_SANITIZE_KERNELS=OFF -DBLOCKS_PYTHON=OFF \
    -DBLOCKS_BENCH=OFF

.PHONY: all run test verify verify-quick bench asan asan-quick asan-core tsan tsan-core memcheck fuzz attack mutants coverage format tidy clean

all: build

$(BUILD)/build.ninja:
	@tools/setup.sh
	@mkdir -p $(BUILD)
	@cmake --preset release -B $(BUILD) > $(BUILD)/configure.log 2>&1 || { cat $(BUILD)/configure.log >&2; exit 1; }

.PHONY: build
build: $(BUILD)/build.ninja
	@cmake --build $(BUILD) --target zarn -j $(JOBS)

# the DC motor: prints the last values and writes out/motor.csv
run: build
	@mkdir -p out
	$(ZARN) run examples/motor/motor.json -w examples/motor/workspace.py -o out/motor.csv

# the studio in the browser: installs what is missing, builds the page, opens an example
.PHONY: studio
studio: build
	@tools/studio.sh setup && tools/studio.sh build
	$(ZARN) studio examples/motor/motor.json

# what single tests need besides; where it cannot be had they say so and are passed over
TEST_PACKAGES = fish mandoc python3-jsonschema zsh \
    mypy python3-distributed python3-h5py python3-hypothesis python3-ipykernel python3-nbclient python3-pandas python3-pip \
    python3-pytest python3-scipy python3-tqdm python3-venv python3-wheel

test: $(BUILD)/build.ninja
	@tools/setup.sh $(TEST_PACKAGES) || echo "make test: goes on without $(TEST_PACKAGES)" >&2
	@tools/studio.sh setup || echo "make test: goes on without the tests of the studio's page" >&2
	@cmake --build $(BUILD) -j $(JOBS)
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

# every way of running a model, with compilers and emulators of other processors; many random models
VERIFY_PACKAGES = clang libclang-rt-dev tcc qemu-user qemu-system-arm \
    gcc-aarch64-linux-gnu libc6-dev-arm64-cross gcc-riscv64-linux-gnu libc6-dev-riscv64-cross \
    gcc-s390x-linux-gnu libc6-dev-s390x-cross gcc-arm-linux-gnueabihf libc6-dev-armhf-cross \
    gcc-arm-none-eabi libnewlib-arm-none-eabi

verify: build
	@tools/setup.sh $(VERIFY_PACKAGES) || echo "make verify: goes on without some of $(VERIFY_PACKAGES)" >&2
	@cmake --build $(BUILD) --target test_verify random_models -j $(JOBS)
	tools/verify.sh $(BUILD) --exact-only
	ZARN_SEEDS=150 $(BUILD)/tests/verify/test_verify --gtest_filter='Native.Computes*' --gtest_brief=1
	cd tests/fmu && ZARN=$(abspath $(BUILD))/zarn ZARN_RANDOM_MODELS=$(abspath $(BUILD))/tests/fmu/random_models \
	    ZARN_FMU_MODELS=100 ZARN_SEED=1000 /usr/bin/python3 -B -m unittest test_fmu.RandomModels

# what CI has the time for: a processor of 64 bits, and one without an operating system
verify-quick: build
	@tools/setup.sh tcc qemu-user qemu-system-arm gcc-aarch64-linux-gnu libc6-dev-arm64-cross gcc-arm-none-eabi \
	    libnewlib-arm-none-eabi
	VERIFY_TARGETS=aarch64,cortex-m3 tools/verify.sh $(BUILD) --exact-only

# the package of Python with the library in it: build/release/wheel/zarn-*.whl
.PHONY: wheel
wheel: $(BUILD)/build.ninja
	@tools/setup.sh python3-wheel
	@cmake --build $(BUILD) --target zarn_core -j $(JOBS)
	tools/make_wheel.py $(BUILD)

bench: $(BUILD)/build.ninja
	@cmake --build $(BUILD) --target bench_all -j $(JOBS)
	tools/bench.sh $(BUILD)
	@{ tools/studio.sh setup && tools/studio.sh build && ZARN=$(CURDIR)/$(ZARN) tools/studio.sh speed; } \
	    || echo "make bench: goes on without the studio's page" >&2

# the suite under address and undefined behaviour sanitizers: clang's, which check conversions of floats as well
asan:
	@tools/setup.sh clang libclang-rt-dev
	cmake --preset asan > /dev/null && cmake --build build/asan -j $(JOBS)
	$(SANITIZED) ctest --test-dir build/asan -j $(JOBS) --output-on-failure

# the quicker part of it: what reads files, compiles, runs and generates, without the tables of all kernels
asan-quick:
	@tools/setup.sh clang libclang-rt-dev
	cmake --preset asan -B build/asan-quick -DBLOCKS_PYTHON=OFF > /dev/null
	cmake --build build/asan-quick -j $(JOBS) --target $(addprefix test_,$(ASAN_QUICK))
	set -e; for folder in $(ASAN_QUICK); do \
	    $(SANITIZED) build/asan-quick/tests/$$folder/test_$$folder --gtest_brief=1; done

# what CI has the time for, by GCC and without the kernels of the blocks: values, framework, passes, run and loader
asan-core:
	@tools/setup.sh
	cmake --preset release -B build/asan-core -DBLOCKS_SANITIZE=address,undefined $(SANITIZED_CORE) > /dev/null
	cmake --build build/asan-core -j $(JOBS) --target $(addprefix test_,$(ASAN_CORE))
	set -e; for folder in $(ASAN_CORE); do \
	    UBSAN_OPTIONS=print_stacktrace=1 build/asan-core/tests/$$folder/test_$$folder --gtest_brief=1; done

# and of the threads: pool, parallel run, log, ids
tsan-core:
	@tools/setup.sh
	cmake --preset release -B build/tsan-core -DBLOCKS_SANITIZE=thread $(SANITIZED_CORE) > /dev/null
	cmake --build build/tsan-core -j $(JOBS) --target test_core test_exec
	build/tsan-core/tests/core/test_core --gtest_brief=1
	build/tsan-core/tests/exec/test_exec --gtest_brief=1

# the threaded tests under the thread sanitizer
tsan:
	@tools/setup.sh
	cmake --preset tsan > /dev/null
	cmake --build build/tsan -j $(JOBS) --target test_core test_exec test_properties test_host
	build/tsan/tests/core/test_core --gtest_brief=1
	build/tsan/tests/exec/test_exec --gtest_brief=1
	build/tsan/tests/properties/test_properties --gtest_brief=1 --gtest_filter='Threads.*'
	build/tsan/tests/host/test_host --gtest_brief=1

# short runs of the command under valgrind
memcheck: build
	@tools/setup.sh valgrind
	tools/memcheck.sh $(BUILD)

fuzz:
	@tools/setup.sh clang libclang-rt-dev
	tools/fuzz.sh

# damaged models through every verb, against the library alone: ATTACK="--seconds 3600" for an hour
ATTACK ?= --seconds 600
attack: $(BUILD)/build.ninja
	@cmake --build $(BUILD) -j $(JOBS) --target zarn bare_host
	tools/attack.py --zarn $(BUILD)/zarn --bare $(BUILD)/tests/host/bare_host $(ATTACK)
	for what in workspaces inputs protocol; do \
	    tools/attack.py --zarn $(BUILD)/zarn --what $$what --seconds 120 || exit 1; done

# changes of the sources that the tests must notice; hours: MUTANTS="--mutants 20 --folders exec" for a look
MUTANTS ?= --mutants 300
mutants: $(BUILD)/build.ninja
	tools/mutants.py --build $(BUILD) $(MUTANTS)

coverage:
	@tools/setup.sh clang libclang-rt-dev llvm
	tools/coverage.sh

format:
	git ls-files '*.cpp' '*.h' '*.inl' '*.c' ':!tests/golden' ':!tests/data' | xargs clang-format -i

tidy:
	@tools/setup.sh clang-format clang-tidy
	tools/tidy.sh

clean:
	rm -rf build out
