#pragma once
// What a job went on past without failing (blocks read with zeros for bytes
// their file does not have, blocks beyond a type's last one, ...), for the
// user to hear of once the job is done: the CLI prints "warning:" lines, the
// GUI one message. A warning is one finished sentence, with its count, said
// once per source and kind, not once per block.
#include <string>
#include <vector>

namespace quillet {

// Hands text to every WarningWatch alive; with none alive it is dropped.
void Warn(const std::string& text);

// Collects the warnings given while it lives, in order. Watches nest; each
// sees every warning given in its lifetime.
class WarningWatch {
public:
    WarningWatch();
    ~WarningWatch();
    WarningWatch(const WarningWatch&) = delete;
    WarningWatch& operator=(const WarningWatch&) = delete;

    const std::vector<std::string>& Texts() const { return texts_; }

private:
    friend void Warn(const std::string& text);
    std::vector<std::string> texts_;
};

}  // namespace quillet
