#!/usr/bin/env bash
# One entry point for a fresh Debian 12 machine: installs what is missing, configures, builds, runs.
#   ./build.sh demo       build and run the demo programs, ending with the JPEG codec's demo
#   ./build.sh test       build and run every test
#   ./build.sh sanitize   the test suite under AddressSanitizer and UndefinedBehaviorSanitizer
#   ./build.sh tsan       the threading tests under ThreadSanitizer
#   ./build.sh clang      the test suite built with clang, warnings as errors
#   ./build.sh bench      build and run the benchmarks
#   ./build.sh fuzz       the libFuzzer targets (clang 14, ASan and UBSan), each for LUM_FUZZ_SECONDS
#                         (default 60); any finding fails
set -euo pipefail
cd "$(dirname "$0")"
mode=${1:-test}
jobs=$(nproc 2>/dev/null || echo 2)

packages=(cmake make g++ pkg-config binutils libgtest-dev libgmock-dev libbenchmark-dev libopencv-dev libyuv-dev libjpeg62-turbo-dev libturbojpeg0-dev libjpeg-turbo-progs imagemagick clang libclang-rt-14-dev)
[ "$mode" = clang ] && packages+=(clang)
missing=()
for p in "${packages[@]}"; do
    dpkg -s "$p" > /dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    sudo_cmd=()
    [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

configure_and_test() {
    local dir=$1
    shift
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release "$@"
    cmake --build "$dir" -j "$jobs"
    ctest --test-dir "$dir" --output-on-failure -j "$jobs"
}

case "$mode" in
demo)
    cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
    cmake --build build -j "$jobs" --target lum-demo lum-probe lumjpeg
    ./build/tools/lum-probe
    echo
    ./build/tools/lum-demo
    echo
    ./build/tools/lumjpeg/lumjpeg demo --out build/lumjpeg-demo
    ;;
test)
    configure_and_test build -DLUM_BUILD_TESTS=ON -DLUM_BUILD_BENCH=ON -DLUM_WERROR=ON
    ;;
sanitize)
    configure_and_test build-sanitize -DLUM_SANITIZE=ON -DLUM_BUILD_BENCH=OFF
    ;;
tsan)
    cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Release -DLUM_TSAN=ON -DLUM_BUILD_BENCH=OFF
    cmake --build build-tsan -j "$jobs" --target frame_dispatch_test
    ./build-tsan/tests/frame_dispatch_test --gtest_filter='Concurrency.*'
    ;;
tsan)
    cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Release -DLUM_TSAN=ON -DLUM_BUILD_BENCH=OFF
    cmake --build build-tsan -j "$jobs" --target frame_dispatch_test
    ./build-tsan/tests/frame_dispatch_test --gtest_filter='Concurrency.*'
    ;;
clang)
    CC=clang CXX=clang++ configure_and_test build-clang -DLUM_BUILD_BENCH=ON -DLUM_WERROR=ON
    ;;
bench)
    cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DLUM_BUILD_BENCH=ON
    cmake --build build -j "$jobs"
    for b in build/bench/bench_*; do "$b" --benchmark_min_time=0.2; done
    ;;
fuzz)
    CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Release -DLUM_SANITIZE=ON -DLUM_FUZZ=ON \
        -DLUM_BUILD_BENCH=OFF
    cmake --build build-fuzz -j "$jobs" --target lum-fuzz
    corpus=build-fuzz/fuzz-corpus
    rm -rf "$corpus"
    build-fuzz/tests/fuzz/fuzz_hdec_make_seeds tests/data/jpeg "$corpus/seeds"
    for target in sequential dc ac_first ac_refine; do
        mkdir -p "$corpus/$target"
        echo "fuzzing $target for ${LUM_FUZZ_SECONDS:-60} s"
        build-fuzz/tests/fuzz/fuzz_hdec_$target -max_total_time="${LUM_FUZZ_SECONDS:-60}" -timeout=10 \
            -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="build-fuzz/crash-$target-" \
            "$corpus/$target" "$corpus/seeds/$target"
    done
    ;;
*)
    echo "usage: $0 demo|test|sanitize|tsan|clang|bench|fuzz" >&2
    exit 2
    ;;
esac
