// A configuration save cut short by a crash must never leave a broken file: a
// writer process saves one configuration after another to the same path and is
// killed at random moments; every time, the file has to hold one complete version.
#include "gb_json.h"
#include "temp_dir.h"

#include <ZyBase.h>

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int kKills = 50;
constexpr int kVersions = 8;
const int kSchemeCounts[kVersions] = {1, 400, 3, 150, 30, 800, 10, 60};

using veltest::TempDir;

// Drops one reference when it goes out of scope.
template <class T>
struct Ref
{
    explicit Ref(T* p) : ptr(p) {}
    ~Ref()
    {
        if (ptr)
            ptr->release();
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    Ref(Ref&& other) noexcept : ptr(other.ptr) { other.ptr = nullptr; }
    T* operator->() const { return ptr; }
    T* get() const { return ptr; }

    T* ptr;
};

void fillScheme(gb::sane_config_schm* schm, int seed, int options)
{
    for (int i = 0; i < options; ++i) {
        const std::string name = "option-" + std::to_string(i);
        const uint32_t word = static_cast<uint32_t>(seed * 7919 + i);
        schm->set_value(name.c_str(), reinterpret_cast<const char*>(&word), sizeof(word));
    }
}

Ref<gb::scanner_cfg> makeConfig(int version)
{
    Ref<gb::scanner_cfg> cfg(new gb::scanner_cfg());
    for (int s = 0; s < kSchemeCounts[version]; ++s) {
        Ref<gb::sane_config_schm> schm(new gb::sane_config_schm());
        fillScheme(schm.get(), version * 1000 + s, 20);
        cfg->add_scheme(schm.get(), ("scheme " + std::to_string(s)).c_str());
    }
    cfg->select_scheme("scheme 0");
    return cfg;
}

Ref<gb::sane_config_schm> makeScheme(int version)
{
    Ref<gb::sane_config_schm> schm(new gb::sane_config_schm());
    fillScheme(schm.get(), version, kSchemeCounts[version] * 20);
    return schm;
}

// Kills the writer when a check fails half-way.
class Writer
{
public:
    // Saves version 1, 2, ... round and round until killed; a failed save ends the
    // process with status 2 so that the parent notices.
    Writer(const std::function<bool(int)>& save)
    {
        m_pid = fork();
        if (m_pid != 0)
            return;
        for (int v = 1;; v = (v + 1) % kVersions) {
            if (!save(v))
                _exit(2);
        }
    }
    ~Writer() { stop(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool started() const { return m_pid > 0; }

    // True when the writer was still running and the kill ended it.
    bool stop()
    {
        if (m_pid <= 0)
            return false;
        kill(m_pid, SIGKILL);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }

private:
    pid_t m_pid = -1;
};

bool parsesAsBase64Json(const std::string& text)
{
    const std::string json = gb::base64().decode(text.data(), text.size());
    cJSON* root = cJSON_Parse(json.c_str());
    cJSON_Delete(root);
    return root != nullptr;
}

int versionOf(const std::string& content, const std::vector<std::string>& versions)
{
    for (size_t i = 0; i < versions.size(); ++i) {
        if (versions[i] == content)
            return static_cast<int>(i);
    }
    return -1;
}

// Leftovers of interrupted saves must not pass for configuration files.
void expectNoStrayConfigFiles(const std::string& dir, const std::string& target)
{
    for (const auto& entry : fs::directory_iterator(dir)) {
        const std::string name = entry.path().filename().string();
        if (entry.path() == fs::path(target))
            continue;
        EXPECT_NE(entry.path().extension(), ".cfg") << "stray file " << name;
        EXPECT_NE(entry.path().extension(), ".schm") << "stray file " << name;
    }
}

class KillDuringSave : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(m_dir.path().empty());
        ASSERT_EQ(ZyBase_SetHomeDir(m_dir.path().c_str()), 0);
        m_seed = std::random_device{}();
        m_rng.seed(m_seed);
        RecordProperty("seed", std::to_string(m_seed));
    }
    void TearDown() override { ZyBase_SetHomeDir(nullptr); }

    // Kills land from well inside the first save to a few saves later, however
    // slow a save is in this build (sanitizers make it several times slower).
    std::chrono::microseconds randomDelay(std::chrono::microseconds oneSave)
    {
        const int longest = std::max(25000, int(3 * oneSave.count()));
        return std::chrono::microseconds(std::uniform_int_distribution<int>(200, longest)(m_rng));
    }

    // Starts writers and kills them kKills times; after each kill the file must be
    // one of versions, and load must accept it. Returns the versions seen.
    std::set<int> killRepeatedly(const std::function<bool(int)>& save,
                                 const std::vector<std::string>& versions,
                                 const std::function<bool(const std::string&)>& load)
    {
        SCOPED_TRACE("seed " + std::to_string(m_seed));
        const auto before = std::chrono::steady_clock::now();
        EXPECT_TRUE(save(1) && save(0));
        const auto oneSave = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - before);
        std::set<int> seen;
        for (int k = 0; k < kKills; ++k) {
            Writer writer(save);
            if (!writer.started()) {
                ADD_FAILURE() << "fork failed";
                break;
            }
            std::this_thread::sleep_for(randomDelay(oneSave));
            if (!writer.stop()) {
                ADD_FAILURE() << "the writer stopped on its own: a save failed";
                break;
            }

            std::string content;
            if (gb::load_mini_file(m_target.c_str(), content) != 0) {
                ADD_FAILURE() << "kill " << k << ": the file cannot be read";
                break;
            }
            EXPECT_TRUE(parsesAsBase64Json(content)) << "kill " << k;
            const int version = versionOf(content, versions);
            if (version < 0) {
                ADD_FAILURE() << "kill " << k << ": " << content.size()
                              << " bytes that are no version that was written";
                break;
            }
            EXPECT_TRUE(load(m_target)) << "kill " << k << ", version " << version;
            seen.insert(version);
        }
        expectNoStrayConfigFiles(m_dir.path(), m_target);
        return seen;
    }

    TempDir m_dir;
    std::string m_target = m_dir.path() + "/ABC 1a2b.cfg";
    unsigned int m_seed = 0;
    std::mt19937 m_rng;
};

} // namespace

TEST_F(KillDuringSave, ScannerConfigFileAlwaysHoldsACompleteVersion)
{
    std::vector<Ref<gb::scanner_cfg>> configs;
    std::vector<std::string> texts;
    for (int v = 0; v < kVersions; ++v) {
        configs.push_back(makeConfig(v));
        texts.push_back(configs.back()->to_text(true));
    }
    ASSERT_EQ(configs[0]->save(m_target.c_str()), 0);

    const auto save = [&](int v) { return configs[v]->save(m_target.c_str()) == 0; };
    const auto load = [&](const std::string& path) {
        std::string content;
        if (gb::load_mini_file(path.c_str(), content) != 0)
            return false;
        Ref<gb::scanner_cfg> cfg(new gb::scanner_cfg());
        return cfg->load_mem(content.c_str(), true) == 0;
    };
    const std::set<int> seen = killRepeatedly(save, texts, load);
    // Only version 0 ever seen would mean the writer never got a save done.
    EXPECT_GT(seen.size(), 1u);
}

TEST_F(KillDuringSave, SchemeFileAlwaysHoldsACompleteVersion)
{
    std::vector<Ref<gb::sane_config_schm>> schemes;
    std::vector<std::string> texts;
    for (int v = 0; v < kVersions; ++v) {
        schemes.push_back(makeScheme(v));
        texts.push_back(schemes.back()->to_text_stream(true, true));
    }
    ASSERT_TRUE(schemes[0]->save_to(m_target.c_str()));

    const auto save = [&](int v) { return schemes[v]->save_to(m_target.c_str()); };
    const auto load = [&](const std::string& path) {
        Ref<gb::sane_config_schm> schm(new gb::sane_config_schm());
        return schm->load_from_file(path.c_str());
    };
    const std::set<int> seen = killRepeatedly(save, texts, load);
    EXPECT_GT(seen.size(), 1u);
}
