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

class SettingsFileKey final : public SettingsKey
{
  public:
    SettingsFileKey(Path file_, std::string_view path, SettingsAccess access_, MissingFolders folders_)
        : file(std::move(file_)), key("HKEY_CURRENT_USER\\" + std::string(path)), access(access_),
          folders(folders_), text(RegistryText::FromBytes(ReadSharedFile(file).bytes))
    {}

    ~SettingsFileKey() override
    {
        try {
            Commit();
        } catch (const std::exception&) {
            // Edits that there is no memory for are lost, as are those that cannot be written.
        }
    }

    std::optional<uint32_t> Read(std::string_view name) const override { return text.Read(key, name); }
    std::vector<SettingsValue> List() const override { return text.List(key); }
    void Write(std::string_view name, uint32_t value) override { Add({std::string(name), value}); }
    void Delete(std::string_view name) override { Add({std::string(name), std::nullopt}); }

  private:
    void Add(Edit edit)
    {
        if (access == SettingsAccess::ReadOnly)
            return;
        edit.ApplyTo(text, key);
        edits.push_back(std::move(edit));
    }

    void Commit() const
    {
        if (edits.empty() || file.empty())
            return;
        if (folders == MissingFolders::AreMade) {
            MakeFolder(file.parent_path().parent_path());
            MakeFolder(file.parent_path());
        }
        const SharedFileLock lock(file);
        if (!lock.IsHeld())
            return;
        const SharedFile current = ReadSharedFile(file);
        if (current.state == SharedFile::State::Unreadable)
            return;
        RegistryText edited = RegistryText::FromBytes(current.bytes);
        for (const Edit& edit : edits)
            edit.ApplyTo(edited, key);
        if (const std::string bytes = edited.ToBytes(); bytes != current.bytes)
            ReplaceSharedFile(file, bytes);
    }

    const Path file;
    const std::string key;
    const SettingsAccess access;
    const MissingFolders folders;
    RegistryText text; // as read, with the edits so far
    std::vector<Edit> edits;
};

} // namespace

std::unique_ptr<SettingsKey> OpenSettingsFile(const Path& file, std::string_view path, SettingsAccess access,
                                              MissingFolders folders)
{
    return std::make_unique<SettingsFileKey>(file, path, access, folders);
}

} // namespace platform
