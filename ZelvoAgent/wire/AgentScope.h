#pragma once

#include "wire/EnumText.h"

#include <array>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// One right that a person grants to a connection. Lists that a person sees are in this order.
enum class AgentScope { screen, input, shell, files, clipboard, record };

template <>
struct EnumTexts<AgentScope> {
    static constexpr std::array<std::string_view, 6> texts = {"screen", "input",     "shell",
                                                              "files",  "clipboard", "record"};
};

constexpr std::array<AgentScope, 6> allScopes = {AgentScope::screen,    AgentScope::input,
                                                 AgentScope::shell,     AgentScope::files,
                                                 AgentScope::clipboard, AgentScope::record};

/// True for what reaches further than seeing and clicking; such a scope is not ticked in advance.
constexpr bool isOffByDefault(AgentScope scope)
{
    return scope >= AgentScope::shell;
}

/// True for the scopes that reach past the list of hidden applications.
constexpr bool bypassesHiddenApps(AgentScope scope)
{
    return scope == AgentScope::shell || scope == AgentScope::files;
}

/// The name that a person sees, and a short one, in the person's language.
std::string title(AgentScope scope);
std::string shortTitle(AgentScope scope);
/// The short names of the given scopes, each once, in the order of the enumeration.
std::string shortList(std::vector<AgentScope> const& scopes);

namespace ConsentDefaults {

/// Of what an agent asks for, what is ticked when the person is asked: seeing and clicking, no more.
std::set<AgentScope> initialSelection(std::vector<AgentScope> const& requested);

} // namespace ConsentDefaults

} // namespace zelvo
