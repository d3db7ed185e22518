#pragma once
// A read of a mapped file faults (SIGBUS) where another program cut the file
// short after it was mapped. RunGuarded runs a piece of work so that such a
// fault ends the work instead of the program: it answers false, and the
// caller goes on by reading the file as it now is.
//
// The work is left where it faulted, no destructor run: it must own nothing
// (no strings, no vectors it grows), and write only into storage that the
// caller made ready and can throw away.
namespace quillet {

bool RunGuarded(void (*Work)(void*), void* Context) noexcept;

template <class Work>
bool RunGuarded(Work& work) noexcept {
    return RunGuarded([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}

}  // namespace quillet
