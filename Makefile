# Thin front over CMake for the README's commands.
BUILD_DIR ?= build
ASAN_DIR ?= build-asan
TSAN_DIR ?= build-tsan
BUILD_TYPE ?= Release
JOBS ?= 2
RENDER = $(BUILD_DIR)/tools/render/corvane-render
SNAPSHOT = $(BUILD_DIR)/tools/snapshot/corvane-snapshot
BUNDLE = $(BUILD_DIR)/Corvane+Time_VST.vst3

.PHONY: all deps configure build demo snapshots test test-sanitize test-tsan fuzz bench install host-check clean

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

# The pictures of the panel that the README shows, drawn by the built
# plug-in itself with the default preferences (not the user's own), as the
# tests draw them.
SNAPSHOT_HOME = $(CURDIR)/$(BUILD_DIR)/snapshot-home
snapshots: build
	@mkdir -p docs
	@rm -rf "$(SNAPSHOT_HOME)" && mkdir -p "$(SNAPSHOT_HOME)"
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) docs/panel-auto.png
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) --set "Correction Mode=Graph" docs/panel-graph.png
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) --open-dialog options docs/dialog-options.png
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) --set "Correction Mode=Graph" --open-dialog paste-hint docs/dialog-hint.png
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(RENDER) --data-folder "$(SNAPSHOT_HOME)/data" --set "Correction Mode=Graph" \
		--press "Track Pitch" --save-state "$(SNAPSHOT_HOME)/tracked.state" "$(SNAPSHOT_HOME)/tracked.wav"
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(RENDER) --data-folder "$(SNAPSHOT_HOME)/data" --load-state "$(SNAPSHOT_HOME)/tracked.state" \
		--snap --object-retune 0 --press "Make Notes" --save-state "$(SNAPSHOT_HOME)/noted.state" "$(SNAPSHOT_HOME)/noted.wav"
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) --load-state "$(SNAPSHOT_HOME)/noted.state" docs/panel-graph-session.png
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(RENDER) --data-folder "$(SNAPSHOT_HOME)/data" --set "Correction Mode=Graph" \
		--press "Track Pitch and Time" --save-state "$(SNAPSHOT_HOME)/take.state" \
		--write-input "$(SNAPSHOT_HOME)/take.wav" "$(SNAPSHOT_HOME)/take-out.wav"
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(RENDER) --data-folder "$(SNAPSHOT_HOME)/data" --load-state "$(SNAPSHOT_HOME)/take.state" \
		--time-move 2.5:2.5 --time-move 3.5:4 --pitch-plot docs/graph-time-move.png \
		--save-state "$(SNAPSHOT_HOME)/moved.state" "$(SNAPSHOT_HOME)/take.wav" "$(SNAPSHOT_HOME)/moved.wav"
	XDG_CONFIG_HOME="$(SNAPSHOT_HOME)" $(SNAPSHOT) --load-state "$(SNAPSHOT_HOME)/moved.state" docs/panel-graph-time.png

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

test-sanitize: deps
	@cmake -S . -B $(ASAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON -DCORVANE_BUILD_BENCH=OFF > /dev/null
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	ctest --test-dir $(ASAN_DIR) --output-on-failure -j $(JOBS)

# The tests that run threads against each other (their names hold
# "Threaded"), built with ThreadSanitizer, which fails them on any data race.
test-tsan: deps
	@cmake -S . -B $(TSAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TSAN=ON -DCORVANE_BUILD_BENCH=OFF > /dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS)
	TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" ctest --test-dir $(TSAN_DIR) --output-on-failure -R Threaded

# Runs the session-state fuzzer for FUZZ_SECONDS, starting from the seeds in
# fuzz/seeds; new inputs go to build-fuzz/corpus, crashes to build-fuzz/.
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 300
fuzz:
	@sh scripts/install-deps.sh fuzz
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_FUZZ=ON -DCORVANE_BUILD_TESTS=OFF -DCORVANE_BUILD_BENCH=OFF > /dev/null
	@cmake --build $(FUZZ_DIR) -j $(JOBS) --target session_state_fuzz
	@mkdir -p $(FUZZ_DIR)/corpus
	$(FUZZ_DIR)/fuzz/session_state_fuzz -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -artifact_prefix=$(FUZZ_DIR)/ $(FUZZ_DIR)/corpus fuzz/seeds

bench: build
	$(BUILD_DIR)/bench/corvane-bench

# The plug-in in Debian's headless Ardour 7: a session saved, reopened and
# saved again keeps the plug-in's state byte for byte. Needs ardour7-lua;
# HOST_CHECK_INSTALL=1 installs Debian's ardour first. Not part of `test`.
host-check: build
	sh scripts/host-check.sh "$(BUNDLE)"

install: build
	@mkdir -p $(HOME)/.vst3
	@rm -rf "$(HOME)/.vst3/Corvane+Time_VST.vst3"
	cp -r "$(BUNDLE)" "$(HOME)/.vst3/"

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR) out
