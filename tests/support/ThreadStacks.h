#pragma once

#include <windows.h>

#include <cstdio>

namespace JY::Test {

/// Writes where every other thread of this process is: "thread" and its identifier, and below it a line for each
/// frame, innermost first, as the module and the offset in it ("JyFlvSource.dll+0x1a2b0"). Takes no lock that one of
/// them may hold for ever, the loader's among them; each thread stands still only while it is looked at.
void writeThreadStacks(std::FILE* output);

/// Whether another thread of this process is in the module that has this address, or will return into it. Takes the
/// same care.
bool isOtherThreadIn(const void* codeAddress);

/// Writes the stack of the one thread that this context is of.
void writeStack(std::FILE* output, DWORD threadId, const CONTEXT& context);

} // namespace JY::Test
