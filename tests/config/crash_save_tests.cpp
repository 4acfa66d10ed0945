// A configuration save cut short by a crash must never leave a broken file: a
// writer process saves one configuration after another to the same path and is
// killed at random moments; every time, the file has to hold one complete version.
#include "config_test_support.h"
#include "temp_home.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
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

using cfgtest::Ref;

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

// A process that saves version 1, 2, ... round and round until killed; a failed
// save ends it with status 2.
pid_t startWriter(const std::function<bool(int)>& save)
{
    const pid_t pid = fork();
    if (pid == 0) {
        for (int v = 1;; v = (v + 1) % kVersions) {
            if (!save(v))
                _exit(2);
        }
    }
    return pid;
}

// True when the writer was still running and the kill ended it.
bool killWriter(pid_t pid)
{
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

// Leftovers of interrupted saves must not pass for configuration files.
void expectNoStrayConfigFiles(const std::string& dir, const std::string& target)
{
    for (const std::string& name : veltest::entries(dir)) {
        const fs::path path = fs::path(dir) / name;
        if (path != fs::path(target)) {
            EXPECT_TRUE(path.extension() != ".cfg" && path.extension() != ".schm") << "stray file " << name;
        }
    }
}

class KillDuringSave : public veltest::HomeTest
{
protected:
    void SetUp() override
    {
        HomeTest::SetUp();
        m_seed = std::random_device{}();
        m_rng.seed(m_seed);
        RecordProperty("seed", std::to_string(m_seed));
    }
    // Kills land from well inside the first save to a few saves later, however
    // slow a save is in this build (sanitizers make it several times slower).
    std::chrono::microseconds randomDelay(std::chrono::microseconds oneSave)
    {
        const int longest = std::max(25000, int(3 * oneSave.count()));
        return std::chrono::microseconds(std::uniform_int_distribution<int>(200, longest)(m_rng));
    }

    // Starts writers and kills them kKills times; after each kill the file must be
    // one of versions, and load must accept it. Collects the versions seen.
    void killRepeatedly(const std::function<bool(int)>& save, const std::vector<std::string>& versions,
                        const std::function<bool(const std::string&)>& load, std::set<int>* seen)
    {
        SCOPED_TRACE("seed " + std::to_string(m_seed));
        const auto before = std::chrono::steady_clock::now();
        EXPECT_TRUE(save(1) && save(0));
        const auto oneSave = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - before);
        for (int k = 0; k < kKills; ++k) {
            const pid_t writer = startWriter(save);
            ASSERT_GT(writer, 0) << "fork failed";
            std::this_thread::sleep_for(randomDelay(oneSave));
            ASSERT_TRUE(killWriter(writer)) << "the writer stopped on its own: a save failed";

            std::string content;
            ASSERT_EQ(gb::load_mini_file(m_target.c_str(), content), 0) << "kill " << k << ": unreadable";
            const auto version = std::find(versions.begin(), versions.end(), content);
            ASSERT_NE(version, versions.end())
                << "kill " << k << ": " << content.size() << " bytes that are no version that was written";
            EXPECT_TRUE(load(m_target)) << "kill " << k;
            seen->insert(int(version - versions.begin()));
        }
        expectNoStrayConfigFiles(m_home.dir(), m_target);
    }

    const std::string m_target = m_home.dir() + "/ABC 1a2b.cfg";
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
        // Loaded and written again it is the same text.
        return cfg->load_mem(content.c_str(), true) == 0 && cfg->to_text(true) == content;
    };
    std::set<int> seen;
    killRepeatedly(save, texts, load, &seen);
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
    std::set<int> seen;
    killRepeatedly(save, texts, load, &seen);
    EXPECT_GT(seen.size(), 1u);
}
