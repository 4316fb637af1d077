#include <holvane/logger.h>
#include <holvane/records.h>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

namespace {

// Channels of these names are also found under a fixed alias, whatever alias their host gave them.
struct ReservedAlias {
    char const* name;
    int alias;
};
ReservedAlias const reservedAliases[] = {
    {"hlvVelocity", int(0xF0000003u)},
    {"hlvTransp", int(0xF0000002u)},
    {"Cd_Right", int(0xF0000001u)},
};

// Bytes of a channel in the tight per-sample record; 0 for a type this library doesn't know.
unsigned long long tightRecordBytes(Phase::AOVType type)
{
    switch (type) {
    case Phase::AOV_BYTE: return 1;
    case Phase::AOV_INT: return 4;
    case Phase::AOV_DOUBLE: return 8;
    case Phase::AOV_VEC3: return 12;
    case Phase::AOV_VEC4: return 16;
    case Phase::AOV_VELOCITY: return 12;
    case Phase::AOV_VEC2: return 8;
    }
    return 0;
}

}  // namespace

void AovFormat::registerAov(int const& alias, std::string const& name, Phase::AOVType const& type)
{
    if (aliases.count(alias) != 0) {
        // The missing closing parenthesis is part of the message hosts already see.
        Logger::HvOutputLogString(Logger::WARNING,
                                  "Adding twice the same AOV alias (while trying to register %s as %d\n",
                                  name.c_str(), alias);
        return;
    }
    unsigned long long const index = types.size();
    types.push_back(type);
    names.push_back(name);
    aliases[alias] = index;
    for (ReservedAlias const& reserved : reservedAliases)
        if (name == reserved.name && alias != reserved.alias)
            aliases[reserved.alias] = index;

    ++count;
    unsigned long long const bytes = tightRecordBytes(type);
    if (bytes == 0)
        Logger::HvOutputLogCStr(Logger::ERROR, "Unknown AOV type\n");  // still registered, adds no bytes
    sampleSize += bytes;
}

bool AovFormat::HasAOV(int const& alias) const
{
    return aliases.count(alias) != 0;
}

bool AovFormat::HasAOV(std::string const& name) const
{
    for (std::string const& registered : names)
        if (registered == name)
            return true;
    return false;
}

std::size_t AovFormat::getIndex(int const& alias) const
{
    auto const found = aliases.find(alias);
    if (found == aliases.end()) {
        // The caller goes on with slot 0.
        Logger::HvOutputLogString(Logger::ERROR,
                                  "Trying to access AOV with alias %d while it hasn't been registered\n", alias);
        return 0;
    }
    return static_cast<std::size_t>(found->second);
}

bool AovFormat::isEmpty() const
{
    return count == 0;
}

void AovFormat::clear()
{
    aliases.clear();
    types.clear();
    names.clear();
    count = 0;
    sampleSize = 0;
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
