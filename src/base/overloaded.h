#pragma once

namespace korvel {

/// Several functions as one that is called by the type of its argument, for std::visit.
template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};

template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace korvel
