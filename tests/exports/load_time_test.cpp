// Load-time state of the image library, read from outside: the library is
// loaded with dlopen, and hidden symbols are located through the library's
// static symbol table (nm) relative to an exported function.
#include <cstdlib>
#include <ovk/ovkimx.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

struct NmSymbol {
    char type;
    std::uintptr_t offset;
};

// Defined symbols of the static symbol table: name -> every definition.
std::map<std::string, std::vector<NmSymbol>> readSymbolTable(const std::string& library)
{
    std::map<std::string, std::vector<NmSymbol>> table;
    const std::string command = "'" OVK_NM "' --defined-only '" + library + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return table;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        unsigned long long offset = 0;
        char type = 0;
        char name[3072];
        if (std::sscanf(line, "%llx %c %3071s", &offset, &type, name) == 3)
            table[name].push_back({type, static_cast<std::uintptr_t>(offset)});
    }
    pclose(pipe);
    return table;
}

std::vector<std::string> readExportList()
{
    std::vector<std::string> names;
    std::ifstream in(OVK_EXPORT_LIST);
    for (std::string name; std::getline(in, name);)
        if (!name.empty())
            names.push_back(name);
    return names;
}

// The library under test and its implementations' prefix: the generic one,
// or the variant the environment names (the test runs against each sibling).
const char* libraryPath()
{
    const char* path = std::getenv("OVK_IMX_PATH");
    return path ? path : OVK_IMX_PATH;
}
std::string implementationPrefix()
{
    const char* variant = std::getenv("OVK_VARIANT");
    return std::string(variant ? variant : "mx") + "_";
}

class LoadTime : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        handle_ = dlopen(libraryPath(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle_, nullptr) << dlerror();

        void* anchor = dlsym(handle_, "ovkiGetLibVersion");
        ASSERT_NE(anchor, nullptr) << dlerror();
        Dl_info info{};
        ASSERT_NE(dladdr(anchor, &info), 0);
        ASSERT_NE(info.dli_fname, nullptr);
        path_ = info.dli_fname;
        table_ = readSymbolTable(path_);
        ASSERT_FALSE(table_.empty()) << "nm printed nothing for " << path_;

        const NmSymbol* anchorSymbol = unique("ovkiGetLibVersion");
        ASSERT_NE(anchorSymbol, nullptr);
        base_ = reinterpret_cast<std::uintptr_t>(anchor) - anchorSymbol->offset;
        EXPECT_EQ(base_, reinterpret_cast<std::uintptr_t>(info.dli_fbase))
            << "the load address from nm and dlsym differs from the one dladdr reports";
    }

    static const NmSymbol* unique(const std::string& name)
    {
        const auto it = table_.find(name);
        if (it == table_.end() || it->second.size() != 1) {
            ADD_FAILURE() << name << ": " << (it == table_.end() ? 0 : it->second.size())
                          << " definitions in the static symbol table of " << path_ << ", expected 1";
            return nullptr;
        }
        return &it->second.front();
    }

    static std::uintptr_t runtimeAddress(const NmSymbol& symbol) { return base_ + symbol.offset; }

    static inline void* handle_ = nullptr;
    static inline std::string path_;
    static inline std::map<std::string, std::vector<NmSymbol>> table_;
    static inline std::uintptr_t base_ = 0;
};

TEST_F(LoadTime, JumpIndexFollowsEnabledFeatures)
{
    const NmSymbol* symbol = unique("ovkJumpIndexForMergedDLL");
    ASSERT_NE(symbol, nullptr);
    EXPECT_TRUE(symbol->type == 'b' || symbol->type == 'd')
        << "ovkJumpIndexForMergedDLL has type " << symbol->type << ", expected local data";
    EXPECT_EQ(dlsym(handle_, "ovkJumpIndexForMergedDLL"), nullptr) << "the jump index is exported";

    auto* enabledFeatures =
        reinterpret_cast<decltype(&ovkGetEnabledCpuFeatures)>(dlsym(handle_, "ovkGetEnabledCpuFeatures"));
    ASSERT_NE(enabledFeatures, nullptr) << dlerror();
    const Ovk64u enabled = enabledFeatures();
    const Ovk64u variantBits = ovkCpuFeatureSSSE3 | ovkCpuFeatureMOVBE;
    ASSERT_EQ(variantBits, 0x30u);
    const int expected = (enabled & variantBits) == variantBits ? 1 : 0;

    const int actual = *reinterpret_cast<const int*>(runtimeAddress(*symbol));
    EXPECT_EQ(actual, expected) << "enabled features 0x" << std::hex << enabled;
    std::printf("enabled features 0x%llx, ovkJumpIndexForMergedDLL = %d\n",
                static_cast<unsigned long long>(enabled), actual);
}

// Whether [address, address + bytes) lies in a mapping of this process without write permission.
bool readOnly(std::uintptr_t address, std::size_t bytes)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long long lo = 0, hi = 0;
        char perms[5] = {};
        if (std::sscanf(line.c_str(), "%llx-%llx %4s", &lo, &hi, perms) == 3 && lo <= address && address + bytes <= hi)
            return perms[1] != 'w';
    }
    return false;
}

// Each exported stub jumps through a local slot that holds its local mx_ (or
// my_, ...) implementation; the slots are read-only once the library is loaded.
TEST_F(LoadTime, SlotsHoldTheImplementations)
{
    const std::vector<std::string> names = readExportList();
    ASSERT_FALSE(names.empty()) << "cannot read " << OVK_EXPORT_LIST;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const NmSymbol* stub = unique(name);
        const NmSymbol* impl = unique(implementationPrefix() + name);
        const NmSymbol* slot = unique(name + "_arraddr");
        if (stub == nullptr || impl == nullptr || slot == nullptr)
            continue;
        EXPECT_EQ(impl->type, 't');
        EXPECT_TRUE(slot->type == 'd' || slot->type == 'r') << "slot type " << slot->type;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(dlsym(handle_, name.c_str())), runtimeAddress(*stub));
        const void* target = *reinterpret_cast<void* const*>(runtimeAddress(*slot));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(target), runtimeAddress(*impl))
            << "the slot does not hold " << implementationPrefix() << name;
        EXPECT_TRUE(readOnly(runtimeAddress(*slot), sizeof(void*))) << "the slot is writable";
    }
}

}  // namespace
