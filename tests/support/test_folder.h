#pragma once

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <utility>

/// Sets a variable of this process's environment; an empty value removes it.
inline void SetEnvironment(const char* name, const std::string& value)
{
#ifdef _WIN32
    _putenv_s(name, value.c_str());
#else
    value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
#endif
}

/// Gives a variable of the environment another value while this object lives.
class ScopedEnvironment
{
  public:
    ScopedEnvironment(std::string variable, const std::string& value) : name(std::move(variable))
    {
        if (const char* old = std::getenv(name.c_str()))
            before = old;
        SetEnvironment(name.c_str(), value);
    }
    ~ScopedEnvironment() { SetEnvironment(name.c_str(), before); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    std::string name;
    std::string before; ///< empty when there was none, as SetEnvironment takes it
};

/// An empty folder that goes away with this object.
class TestFolder
{
  public:
    TestFolder()
    {
        std::random_device random;
        do
            path = std::filesystem::temp_directory_path() / ("orvane_test_" + std::to_string(random()));
        while (!std::filesystem::create_directory(path));
    }
    ~TestFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::filesystem::path& Path() const { return path; }

  private:
    std::filesystem::path path;
};
