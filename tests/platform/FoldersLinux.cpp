// A registry and a runtime folder of their own for the tests and the processes they start.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

class Folders : public testing::Environment
{
public:
    void SetUp() override
    {
        std::string s = std::filesystem::temp_directory_path() / "orvexplatformtests-XXXXXX";
        m_Folder = mkdtemp(s.data());
        setenv("ORVEX_REGISTRY", (m_Folder / "registry").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", m_Folder.c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_Folder); }

private:
    std::filesystem::path m_Folder;
};

[[maybe_unused]] testing::Environment* const s_pFolders = testing::AddGlobalTestEnvironment(new Folders);

}  // namespace
