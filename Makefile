# Thin front over CMake for the README's commands.
BUILD_DIR ?= build
ASAN_DIR ?= build-asan
BUILD_TYPE ?= Release
JOBS ?= 2
RENDER = $(BUILD_DIR)/tools/render/corvane-render
BUNDLE = $(BUILD_DIR)/Corvane+Time_VST.vst3

.PHONY: all deps configure build demo test test-sanitize bench install clean

all: build

deps:
	@sh scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) > /dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
	@mkdir -p out
	$(RENDER) --write-input out/demo-in.wav out/demo-out.wav

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

test-sanitize: deps
	@cmake -S . -B $(ASAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON -DCORVANE_BUILD_BENCH=OFF > /dev/null
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	ctest --test-dir $(ASAN_DIR) --output-on-failure -j $(JOBS)

bench: build
	$(BUILD_DIR)/bench/corvane-bench

install: build
	@mkdir -p $(HOME)/.vst3
	@rm -rf "$(HOME)/.vst3/Corvane+Time_VST.vst3"
	cp -r "$(BUNDLE)" "$(HOME)/.vst3/"

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) out
