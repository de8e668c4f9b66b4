// What every export promises, checked for each one from the API description:
// its argument checks run in their declared order (each one the first to
// fail, nothing written), a call writes nothing outside its region and no AC4
// alpha, rows without padding give the result of padded ones, the in-place
// form gives the out-of-place result, and pointwise functions give on any
// tile (every width a vector loop can leave as a tail, any start) what they
// give on the whole image.
#include <gtest/gtest.h>

#include <algorithm>

#include <climits>
#include <fstream>
#include <functional>
#include <set>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;
using Breaker = std::function<void(Invocation&)>;

unsigned seedOf(const std::string& name)
{
    unsigned h = 2166136261u;
    for (char c : name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h;
}

CallSetup setupOf(const Function& f, OvkiSize roi = {19, 3}, bool tight = false)
{
    CallSetup s;
    s.roi = f.has("square") ? OvkiSize{roi.width, roi.width} : roi;
    for (const Check& c : f.checks) {  // a smallest side that always holds: valid calls keep to it
        if (!c.when.empty()) continue;
        if (c.kind == "minWidth") s.roi.width = std::max(s.roi.width, c.min);
        if (c.kind == "minHeight") s.roi.height = std::max(s.roi.height, c.min);
    }
    s.seed = seedOf(f.name);
    s.tight = tight;
    return s;
}

// Every way the test breaks one check, each described for failure messages.
std::vector<std::pair<std::string, Breaker>> breakersOf(const Function& f, const Check& c, OvkiSize roi)
{
    std::vector<std::pair<std::string, Breaker>> out;
    // A check that runs only for some values of a parameter gets the first of them too.
    auto add = [&](std::string what, Breaker b) {
        if (!c.when.empty()) {
            const std::string n = c.when;
            const int v = int(c.whenValues.front());
            what += " (" + n + " = " + std::to_string(v) + ")";
            b = [n, v, b](Invocation& i) { i.setInt(n, v); b(i); };
        }
        out.emplace_back(std::move(what), std::move(b));
    };
    if (c.kind == "pointers") {
        for (const std::string& n : c.params) {
            add(n + " null", [n](Invocation& i) { i.setNull(n); });
            if (f.param(n)->role.find("Planes") != std::string::npos)
                add(n + "[1] null", [n](Invocation& i) { i.setNull(n, 1); });
        }
    } else if (c.kind == "steps") {
        for (const Param& p : f.params)
            if (p.role == "step")
                for (int v : {0, -1}) add(p.name + " = " + std::to_string(v), [p, v](Invocation& i) { i.setInt(p.name, v); });
    } else if (c.kind == "rowSteps") {
        for (const Param& p : f.params)
            if (p.role == "step") {
                add(p.name + " = -1", [p](Invocation& i) { i.setInt(p.name, -1); });
                add(p.name + " a byte short of a row", [p](Invocation& i) {
                    const auto* im = i.imageOf(p);
                    i.setInt(p.name, im->width * im->channels * im->elem - 1);
                });
            }
    } else if (c.kind == "size" && f.has("border")) {
        add("empty source", [roi](Invocation& i) { i.setSize("srcRoiSize", {0, roi.height}); });
        add("destination too narrow", [roi](Invocation& i) { i.setSize("dstRoiSize", {roi.width + 2, roi.height + 4}); });
        add("destination too short", [roi](Invocation& i) { i.setSize("dstRoiSize", {roi.width + 5, roi.height + 1}); });
        add("negative top", [](Invocation& i) { i.setInt("topBorderHeight", -1); });
        add("negative left", [](Invocation& i) { i.setInt("leftBorderWidth", -1); });
        // Sums of caller sizes near INT_MAX must fail the check, not wrap around and pass it.
        for (const char* n : {"topBorderHeight", "leftBorderWidth"})
            for (int v : {INT_MAX, INT_MIN})
                add(std::string(n) + " = " + std::to_string(v), [n, v](Invocation& i) { i.setInt(n, v); });
        add("huge source", [](Invocation& i) { i.setSize("srcRoiSize", {INT_MAX, INT_MAX}); });
    } else if (c.kind == "minWidth" || c.kind == "minHeight") {
        const bool width = c.kind == "minWidth";
        const int side = c.min - 1;
        add(c.kind + " " + std::to_string(side), [width, side](Invocation& i) {
            const OvkiSize s = i.size("roiSize");
            i.setSize("roiSize", width ? OvkiSize{side, s.height} : OvkiSize{s.width, side});
        });
    } else if (c.kind == "size") {
        std::vector<OvkiSize> bad = {{0, roi.height}, {roi.width, 0}, {-1, roi.height}, {roi.width, -3},
                                     {INT_MIN, INT_MIN}, {INT_MAX, 0}, {0, INT_MAX}, {INT_MAX, INT_MIN}};
        if (f.has("square")) bad.push_back({roi.width, roi.width + 1});
        for (OvkiSize s : bad)
            add("size " + std::to_string(s.width) + "x" + std::to_string(s.height), [s](Invocation& i) { i.setSize("roiSize", s); });
    } else {
        const std::string n = c.params.at(0);
        for (int v = 0;; ++v) {
            Invocation probe(f, setupOf(f));
            if (!probe.breakParam(n, v)) break;
            add(n + " out of its domain (" + std::to_string(v) + ")", [n, v](Invocation& i) { i.breakParam(n, v); });
        }
    }
    return out;
}

std::vector<const Function*> statusFunctions()
{
    std::vector<const Function*> out;
    for (const Function& f : functions())
        if (f.returns == "OvkStatus") out.push_back(&f);
    return out;
}

class EveryExport : public ::testing::TestWithParam<const Function*> {};

TEST_P(EveryExport, ChecksRunInTheirDeclaredOrder)
{
    const Function& f = *GetParam();
    const CallSetup setup = setupOf(f);
    {
        Invocation good(f, setup);
        ASSERT_GE(good.call(), 0) << "valid arguments were rejected";
        EXPECT_EQ(good.writeDiscipline(), "");
    }
    for (std::size_t i = 0; i < f.checks.size(); ++i) {
        const auto mine = breakersOf(f, f.checks[i], setup.roi);
        ASSERT_FALSE(mine.empty()) << "no way to break check " << f.checks[i].kind;
        for (const auto& [what, brk] : mine) {
            Invocation inv(f, setup);
            brk(inv);
            EXPECT_EQ(inv.call(), f.checks[i].status) << what;
            EXPECT_EQ(inv.unchanged(), "") << what;
        }
        // Together with any later check, this one still wins.
        for (std::size_t j = i + 1; j < f.checks.size(); ++j) {
            const auto later = breakersOf(f, f.checks[j], setup.roi);
            for (const auto& [what, brk] : later) {
                Invocation inv(f, setup);
                brk(inv);
                mine.front().second(inv);
                EXPECT_EQ(inv.call(), f.checks[i].status) << mine.front().first << " and " << what;
                EXPECT_EQ(inv.unchanged(), "") << mine.front().first << " and " << what;
            }
        }
    }
}

TEST_P(EveryExport, WritesOnlyItsRegionAtEveryWidth)
{
    const Function& f = *GetParam();
    for (int w : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100})
        for (int h : {2, 3, 32, 33}) {
            for (bool tight : {false, true}) {
                Invocation inv(f, setupOf(f, {w, h}, tight));
                const OvkStatus status = inv.call();
                EXPECT_TRUE(status >= 0 || f.has("failsOnData")) << w << "x" << h << ": " << status;
                EXPECT_EQ(inv.writeDiscipline(), "") << w << "x" << h << (tight ? " without padding" : "");
            }
        }
}

// Copies every image and argument of `from` into `to` (of the same or the
// partner function), so both calls see the same data.
void sameData(Invocation& to, const Invocation& from, int x0 = 0, int y0 = 0)
{
    for (const std::string& n : to.images()) to.copyImage(from, n, n, x0, y0);
    to.copyScalars(from);
}

TEST_P(EveryExport, RowsWithoutPaddingGiveTheSameResult)
{
    const Function& f = *GetParam();
    Invocation padded(f, setupOf(f, {21, 3})), tight(f, setupOf(f, {21, 3}, true));
    sameData(tight, padded);
    ASSERT_EQ(tight.call(), padded.call());
    for (const std::string& n : padded.images(true)) EXPECT_EQ(tight.region(n), padded.region(n)) << n;
}

TEST_P(EveryExport, InPlaceGivesTheOutOfPlaceResult)
{
    const Function& f = *GetParam();
    if (f.partner.empty()) GTEST_SKIP() << "no out-of-place partner";
    const Function& p = find(f.partner);
    for (OvkiSize roi : {OvkiSize{2, 2}, OvkiSize{37, 3}}) {
        const CallSetup s = setupOf(f, roi);
        Invocation out(p, s), in(f, s);
        std::string result;  // the in-place image that receives the partner's destination
        for (std::size_t k = 0; k < p.params.size(); ++k) {
            const std::string& mine = f.partnerArgs[k];
            if (!f.param(mine)->image()) continue;
            if (p.params[k].role == "dst") result = mine;
            else if (result.empty() || mine != result) in.copyImage(out, p.params[k].name, mine);
        }
        in.copyScalars(out);
        const OvkStatus expected = out.call();
        ASSERT_EQ(in.call(), expected);
        for (std::size_t k = 0; k < p.params.size(); ++k) {
            if (p.params[k].role == "dst") {
                EXPECT_EQ(in.region(result), out.region(p.params[k].name));
            }
        }
        EXPECT_EQ(in.writeDiscipline(), "");
    }
}

TEST_P(EveryExport, PointwiseTilesEqualTheWhole)
{
    const Function& f = *GetParam();
    if (!f.has("pointwise")) GTEST_SKIP() << "not pointwise";
    const OvkiSize whole{200, 3};  // one-channel rows longer than the 192-element fill chunk
    // A large scale factor also takes the paths of results that are constant.
    for (int scale : f.param("scaleFactor") ? std::vector<int>{1, 40} : std::vector<int>{1}) {
        CallSetup s = setupOf(f, whole);
        s.scale = scale;
        Invocation all(f, s);
        ASSERT_GE(all.call(), 0);
        for (int w = 1; w <= 36; ++w) {
            const int x0 = (w * 7) % 5, y0 = w % 2, h = 1 + (w % 3 == 0);
            s.roi = {w, h};
            Invocation tile(f, s);
            sameData(tile, all, x0, y0);
            ASSERT_GE(tile.call(), 0);
            for (const std::string& n : all.images(true))
                ASSERT_EQ(tile.region(n), all.region(n, x0, y0, w, h))
                    << "tile " << w << "x" << h << " at " << x0 << "," << y0 << ", scale factor " << scale;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Registry, EveryExport, ::testing::ValuesIn(statusFunctions()),
                         [](const auto& info) { return info.param->name; });

// The harness reaches every exported name: the description lists exactly the
// exports, and each one resolves to code.
TEST(Registry, DescribesEveryExport)
{
    std::ifstream in(OVK_EXPORT_LIST);
    std::set<std::string> exported, described;
    for (std::string n; in >> n;) exported.insert(n);
    for (const Function& f : functions()) {
        described.insert(f.name);
        EXPECT_NE(f.address, nullptr) << f.name;
    }
    EXPECT_EQ(exported, described);
    EXPECT_GT(exported.size(), 1000u);
}

}  // namespace
