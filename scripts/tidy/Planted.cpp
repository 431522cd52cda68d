// SPDX-License-Identifier: Apache-2.0
// One finding of each kind of check: in what is declared, in a flow, in the preprocessor. That clang-tidy tells all of
// them is how `lint` knows that it still looks.
#include <string>
#include <string> // readability-duplicate-include

int lengthOfMoved()
{
    std::string text = "text";
    const std::string other = std::move(text);
    return int(text.size() + other.size()); // bugprone-use-after-move
}

int divided(int number)
{
    const int zero = 0;
    return number / (zero * number); // clang-analyzer-core.DivideZero
}

typedef int Number; // modernize-use-using
