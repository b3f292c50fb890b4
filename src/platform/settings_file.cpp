#include "platform/settings_file.h"

#include "platform/registry_text.h"
#include "platform/shared_file.h"

#include <exception>
#include <utility>

namespace platform {
namespace {

struct Edit {
    std::string name;
    std::optional<uint32_t> number; // nothing: the value goes

    void ApplyTo(RegistryText& text, std::string_view key) const
    {
        if (number)
            text.Write(key, name, *number);
        else
            text.Delete(key, name);
    }
};

/// Where a settings file is, and what it held when it was opened.
struct OpenedFile {
    Path path;
    MissingFolders folders;
    std::shared_ptr<const RegistryText> text;
};

class SettingsFileKey final : public SettingsKey
{
  public:
    SettingsFileKey(OpenedFile file_, std::string_view path, SettingsAccess access_)
        : file(std::move(file_)), key("HKEY_CURRENT_USER\\" + std::string(path)), access(access_)
    {}

    ~SettingsFileKey() override
    {
        try {
            Commit();
        } catch (const std::exception&) {
            // Edits that there is no memory for are lost, as are those that cannot be written.
        }
    }

    std::optional<uint32_t> Read(std::string_view name) const override { return Text().Read(key, name); }
    std::vector<SettingsValue> List() const override { return Text().List(key); }
    void Write(std::string_view name, uint32_t value) override { Add({std::string(name), value}); }
    void Delete(std::string_view name) override { Add({std::string(name), std::nullopt}); }

  private:
    /// As read, with the edits so far.
    const RegistryText& Text() const { return edited ? *edited : *file.text; }

    void Add(Edit edit)
    {
        if (access == SettingsAccess::ReadOnly)
            return;
        if (!edited)
            edited = *file.text;
        edit.ApplyTo(*edited, key);
        edits.push_back(std::move(edit));
    }

    void Commit() const
    {
        if (edits.empty() || file.path.empty())
            return;
        if (file.folders == MissingFolders::AreMade) {
            MakeFolder(file.path.parent_path().parent_path());
            MakeFolder(file.path.parent_path());
        }
        const SharedFileLock lock(file.path);
        if (!lock.IsHeld())
            return;
        const SharedFile current = ReadSharedFile(file.path);
        if (current.state == SharedFile::State::Unreadable)
            return;
        RegistryText text = RegistryText::FromBytes(current.bytes);
        for (const Edit& edit : edits)
            edit.ApplyTo(text, key);
        if (const std::string bytes = text.ToBytes(); bytes != current.bytes)
            ReplaceSharedFile(file.path, bytes);
    }

    const OpenedFile file;
    const std::string key;
    const SettingsAccess access;
    std::optional<RegistryText> edited;
    std::vector<Edit> edits;
};

class SettingsFile final : public SettingsStore
{
  public:
    SettingsFile(const Path& path, MissingFolders folders)
        : file{path, folders,
               std::make_shared<const RegistryText>(RegistryText::FromBytes(ReadSharedFile(path).bytes))}
    {}

    std::unique_ptr<SettingsKey> Open(std::string_view path, SettingsAccess access) const override
    {
        return std::make_unique<SettingsFileKey>(file, path, access);
    }

  private:
    const OpenedFile file;
};

} // namespace

std::unique_ptr<SettingsStore> OpenSettingsFile(const Path& file, MissingFolders folders)
{
    return std::make_unique<SettingsFile>(file, folders);
}

} // namespace platform
