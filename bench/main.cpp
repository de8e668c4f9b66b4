// ovk_bench: ovk against single-threaded OpenCV and memcpy, in one process.
// Usually run through bench/run.py, which prints one table per operation.
#include "bench_common.hpp"

#include <benchmark/benchmark.h>

#include <opencv2/core/utility.hpp>

int main(int argc, char** argv)
{
    cv::setNumThreads(1);
    ovkbench::registerFamilies();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    const OvkLibraryVersion* version = ovkiGetLibVersion();
    benchmark::AddCustomContext("ovk_version", version && version->Version ? version->Version : "?");
    benchmark::AddCustomContext("opencv_version", cv::getVersionString());
    benchmark::AddCustomContext("opencv_threads", std::to_string(cv::getNumThreads()));
    benchmark::AddCustomContext("opencv_cpu_features", cv::getCPUFeaturesLine());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
