#include "server/ServerCommandLine.h"

#include <windows.h>

#include <cwctype>
#include <string_view>

namespace server {
namespace {

bool IsSwitch(std::wstring_view word, const wchar_t* name)
{
    if (word.size() < 2 || (word[0] != L'/' && word[0] != L'-'))
        return false;
    word.remove_prefix(1);
    return CompareStringOrdinal(word.data(), static_cast<int>(word.size()), name, -1, TRUE) == CSTR_EQUAL;
}

} // namespace

ServerCommandLine ParseServerCommandLine(const wchar_t* tail)
{
    ServerCommandLine result;
    std::wstring_view rest = tail ? tail : L"";
    while (!rest.empty()) {
        while (!rest.empty() && std::iswspace(rest.front()))
            rest.remove_prefix(1);
        std::size_t length = 0;
        while (length < rest.size() && !std::iswspace(rest[length]))
            ++length;
        const std::wstring_view word = rest.substr(0, length);
        rest.remove_prefix(length);
        if (IsSwitch(word, L"RegServer"))
            result.command = ServerCommand::Register;
        else if (IsSwitch(word, L"UnregServer"))
            result.command = ServerCommand::Unregister;
        else if (IsSwitch(word, L"Embedding"))
            result.embedding = true;
    }
    return result;
}

} // namespace server
