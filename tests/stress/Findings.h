#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// What a run under load finds wrong. Any thread.
namespace JY::Test::Findings {

/// Records a finding; the first ones are printed at once.
void add(const std::string& text);
/// How many there are.
unsigned count();
/// Forgets them.
void clear();

/// Records a result that is none of those that the method may give here. Returns it.
HRESULT expectOneOf(const char* method, HRESULT result, std::initializer_list<HRESULT> expected);

} // namespace JY::Test::Findings
