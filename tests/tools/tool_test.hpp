// Helpers of the tests that run the ovkimg tool on tiny image files and read
// its output files back.
#pragma once

#include "image_io.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>
#include <sys/wait.h>
#include <unistd.h>

#ifndef OVKIMG_EXECUTABLE
#error "OVKIMG_EXECUTABLE: the path of the ovkimg tool"
#endif

namespace ovkimg::tooltest {

using Samples = std::vector<int>;

// What a run of the tool gave.
struct ToolRun {
    int exitCode = -1;
    std::string output;  // stdout and stderr
};

// `arg` in single quotes for the shell.
inline std::string quoted(const std::string& arg) {
    std::string text = "'";
    for (char c : arg) {
        if (c == '\'') {
            text += "'\\''";
        } else {
            text += c;
        }
    }
    text += '\'';
    return text;
}

// Rows of samples as one image: width = samples / channels / height.
inline Image imageOf(SampleType type, int channels, const Samples& samples, int height = 1) {
    const int width = int(samples.size()) / channels / height;
    Image image(type, channels, width, height);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * channels; ++i) {
            const int v = samples[std::size_t(y) * width * channels + i];
            if (type == SampleType::U8) {
                image.row<Ovk8u>(y)[i] = Ovk8u(v);
            } else {
                image.row<Ovk16u>(y)[i] = Ovk16u(v);
            }
        }
    }
    return image;
}

// Every sample, row by row.
inline Samples samplesOf(const Image& image) {
    Samples out;
    for (int y = 0; y < image.height(); ++y) {
        for (int i = 0; i < image.width() * image.channels(); ++i) {
            out.push_back(image.type() == SampleType::U8 ? image.row<Ovk8u>(y)[i] : image.row<Ovk16u>(y)[i]);
        }
    }
    return out;
}

// A fixture with a directory of its own in which it runs the tool.
class ToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::temp_directory_path() /
               ("ovkimg_" + std::string(test->test_suite_name()) + "_" + std::to_string(::getpid()) + "_" +
                test->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string file(const std::string& name) const { return (dir_ / name).string(); }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir_ / name); }

    // Runs `ovkimg args...` in the test's directory.
    ToolRun run(const std::vector<std::string>& args) const {
        std::string command = "cd ";
        command += quoted(dir_.string());
        command += " && ";
        command += quoted(OVKIMG_EXECUTABLE);
        for (const std::string& arg : args) {
            command += ' ';
            command += quoted(arg);
        }
        command += " 2>&1";
        ToolRun result;
        std::FILE* pipe = ::popen(command.c_str(), "r");
        if (pipe == nullptr) return result;
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, n);
        const int status = ::pclose(pipe);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    // Runs the tool, which must succeed, with -o out.png added to `args`;
    // the image it wrote (an empty one when it failed).
    Image resultImage(std::vector<std::string> args) const {
        args.insert(args.end(), {"-o", "out.png"});
        std::filesystem::remove(dir_ / "out.png");
        const ToolRun r = run(args);
        EXPECT_EQ(r.exitCode, 0) << r.output;
        if (r.exitCode != 0 || !exists("out.png")) return Image();
        return readImage(file("out.png"));
    }

    // The samples of that image.
    Samples result(std::vector<std::string> args) const { return samplesOf(resultImage(std::move(args))); }

    // Writes a gray 8-bit PGM of `height` rows, byte by byte.
    void writePgm(const std::string& name, const Samples& samples, int height = 1) const {
        std::string bytes =
            "P5\n" + std::to_string(samples.size() / height) + " " + std::to_string(height) + "\n255\n";
        for (int v : samples) bytes += char(v);
        std::ofstream(file(name), std::ios::binary) << bytes;
    }

    void write(const std::string& name, SampleType type, int channels, const Samples& samples,
               int height = 1) const {
        writeImage(imageOf(type, channels, samples, height), file(name));
    }

private:
    std::filesystem::path dir_;
};

}  // namespace ovkimg::tooltest
