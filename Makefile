# Front door of the project. `make run` installs what is missing, builds and runs hlvtrace, the reference host,
# on its built-in scene; `make test` configures, builds and runs every test.
BUILD_DIR    ?= build/release
SANITIZE_DIR ?= build/sanitize
TSAN_DIR     ?= build/tsan
BENCH_DIR    ?= build/bench
JOBS         ?= $(shell nproc)
SUDO         := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
CTEST_FLAGS  := --output-on-failure -j $(JOBS)
ARGS         ?=

.PHONY: all build deps run test sanitize test-sanitize tsan test-tsan bench install clean

all: build

deps:
	@$(SUDO) bash scripts/install-deps.sh

$(BUILD_DIR)/build.ninja: | deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release

build: deps $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR) -j $(JOBS)

# ARGS adds options of hlvtrace, e.g. make run ARGS="--width 624 --scene my.obj".
run: deps $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR) -j $(JOBS) --target hlvtrace
	$(BUILD_DIR)/tools/hlvtrace/hlvtrace --out out $(ARGS)

test: build
	cd $(BUILD_DIR) && ctest $(CTEST_FLAGS)

$(SANITIZE_DIR)/build.ninja: | deps
	cmake -S . -B $(SANITIZE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DHOLVANE_SANITIZE=ON

sanitize: deps $(SANITIZE_DIR)/build.ninja
	cmake --build $(SANITIZE_DIR) -j $(JOBS)

test-sanitize: sanitize
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 ctest $(CTEST_FLAGS)

$(TSAN_DIR)/build.ninja: | deps
	cmake -S . -B $(TSAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DHOLVANE_TSAN=ON

tsan: deps $(TSAN_DIR)/build.ninja
	cmake --build $(TSAN_DIR) -j $(JOBS)

test-tsan: tsan
	cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest $(CTEST_FLAGS)

$(BENCH_DIR)/build.ninja: | deps
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DHOLVANE_TESTS=OFF -DHOLVANE_BENCH=ON

bench: deps $(BENCH_DIR)/build.ninja
	cmake --build $(BENCH_DIR) -j $(JOBS)
	@for b in $(BENCH_DIR)/bench/bench_*; do echo "== $$b"; $$b; done

install: build
	cmake --install $(BUILD_DIR)

clean:
	rm -rf build
