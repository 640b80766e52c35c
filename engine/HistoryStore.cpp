#include "engine/HistoryStore.h"

#include "base/Handles.h"

#include <shlobj.h>

namespace engine {
namespace {

constexpr char kMagic[4] = {'K', 'R', 'N', 'H'};
constexpr std::uint32_t kVersion = 1;

std::uint32_t Fnv1a(std::span<const std::uint8_t> bytes)
{
    std::uint32_t hash = 2166136261u;
    for (const std::uint8_t byte : bytes)
        hash = (hash ^ byte) * 16777619u;
    return hash;
}

void Put32(std::vector<std::uint8_t>& out, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<std::uint8_t>(value >> shift));
}

bool Get32(std::span<const std::uint8_t>& in, std::uint32_t& value)
{
    if (in.size() < 4)
        return false;
    value = in[0] | in[1] << 8 | in[2] << 16 | std::uint32_t{in[3]} << 24;
    in = in.subspan(4);
    return true;
}

std::optional<std::vector<std::uint8_t>> ReadWhole(const std::wstring& file, DWORD& error)
{
    const base::unique_file handle(
        CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    if (!handle || !GetFileSizeEx(handle.get(), &size) || size.QuadPart > (64 << 20)) {
        error = handle ? ERROR_FILE_TOO_LARGE : GetLastError();
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!bytes.empty() && (!ReadFile(handle.get(), bytes.data(), DWORD(bytes.size()), &read, nullptr) ||
                           read != bytes.size())) {
        error = GetLastError() ? GetLastError() : ERROR_HANDLE_EOF;
        return std::nullopt;
    }
    return bytes;
}

} // namespace

std::vector<std::uint8_t> SerializeHistories(const Histories& histories)
{
    std::vector<std::uint8_t> out(std::begin(kMagic), std::end(kMagic));
    Put32(out, kVersion);
    Put32(out, static_cast<std::uint32_t>(histories.size()));
    for (const auto& [folder, history] : histories) {
        Put32(out, static_cast<std::uint32_t>(folder.size()));
        for (const wchar_t unit : folder) {
            out.push_back(static_cast<std::uint8_t>(unit));
            out.push_back(static_cast<std::uint8_t>(unit >> 8));
        }
        Put32(out, static_cast<std::uint32_t>(history.Encoded().size()));
        out.insert(out.end(), history.Encoded().begin(), history.Encoded().end());
    }
    Put32(out, Fnv1a(out));
    return out;
}

std::optional<Histories> ParseHistories(std::span<const std::uint8_t> bytes)
{
    std::uint32_t version = 0, count = 0, hash = 0;
    if (bytes.size() < 16 || !std::equal(std::begin(kMagic), std::end(kMagic), bytes.begin()))
        return std::nullopt;
    std::span<const std::uint8_t> tail = bytes.subspan(bytes.size() - 4);
    if (!Get32(tail, hash) || hash != Fnv1a(bytes.first(bytes.size() - 4)))
        return std::nullopt;
    std::span<const std::uint8_t> in = bytes.subspan(4, bytes.size() - 8);
    if (!Get32(in, version) || version != kVersion || !Get32(in, count))
        return std::nullopt;
    Histories histories;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t chars = 0, length = 0;
        if (!Get32(in, chars) || chars > kMaxPathChars || in.size() < std::size_t{chars} * 2)
            return std::nullopt;
        std::wstring folder(chars, L'\0');
        for (std::uint32_t c = 0; c < chars; ++c)
            folder[c] = static_cast<wchar_t>(in[2 * c] | in[2 * c + 1] << 8);
        in = in.subspan(std::size_t{chars} * 2);
        if (!Get32(in, length) || in.size() < length)
            return std::nullopt;
        std::optional<FolderHistory> history = FolderHistory::Decode(in.first(length));
        in = in.subspan(length);
        if (!history || !histories.emplace(std::move(folder), std::move(*history)).second)
            return std::nullopt;
    }
    if (!in.empty())
        return std::nullopt;
    return histories;
}

std::wstring DefaultHistoryFile()
{
    PWSTR folder = nullptr;
    std::wstring file;
    if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_CREATE, nullptr, &folder)))
        file = std::wstring(folder) + L"\\Norlath\\Kestrune\\history.bin";
    CoTaskMemFree(folder);
    return file;
}

HistoryStore::HistoryStore(std::wstring file) : file_(std::move(file))
{
    if (file_.empty())
        return;
    DWORD error = 0;
    const std::optional<std::vector<std::uint8_t>> bytes = ReadWhole(file_, error);
    if (!bytes && (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND))
        return;
    std::optional<Histories> read = bytes ? ParseHistories(*bytes) : std::nullopt;
    if (read)
        folders_ = std::move(*read);
    else
        MoveFileExW(file_.c_str(), (file_ + L".bad").c_str(), MOVEFILE_REPLACE_EXISTING);
}

void HistoryStore::Record(const std::wstring& folder, std::uint32_t minute, std::uint64_t bytes)
{
    std::lock_guard lock(mutex_);
    if (folders_[folder].Record(minute, bytes))
        changed_ = true;
}

std::optional<FolderHistory> HistoryStore::Find(const std::wstring& folder) const
{
    std::lock_guard lock(mutex_);
    const auto found = folders_.find(folder);
    if (found == folders_.end())
        return std::nullopt;
    return found->second;
}

bool HistoryStore::Save()
{
    std::vector<std::uint8_t> bytes;
    {
        std::lock_guard lock(mutex_);
        if (!changed_ || file_.empty())
            return true;
        bytes = SerializeHistories(folders_);
        changed_ = false;
    }
    const std::wstring aside = file_ + L".new";
    SHCreateDirectoryExW(nullptr, file_.substr(0, file_.find_last_of(L'\\')).c_str(), nullptr);
    bool written = false;
    {
        const base::unique_file out(CreateFileW(aside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        DWORD done = 0;
        written = out && WriteFile(out.get(), bytes.data(), DWORD(bytes.size()), &done, nullptr) &&
                  done == bytes.size() && FlushFileBuffers(out.get());
    }
    if (written && MoveFileExW(aside.c_str(), file_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return true;
    const DWORD error = GetLastError();
    DeleteFileW(aside.c_str());
    std::lock_guard lock(mutex_);
    changed_ = true;  // tried again at the next save
    SetLastError(error);
    return false;
}

} // namespace engine
