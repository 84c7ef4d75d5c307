// Expressions made of ints alone, computed without values of any type in between.
#pragma once

#include <cstdint>

namespace karst {

struct ExpressionNode;

// A result, or none: something in the expression was no int, or a division by 0. Nothing has happened then.
struct IntResult {
  int32_t value;
  int32_t known;
};

using IntEvaluator = IntResult (*)(const ExpressionNode&);

// The evaluator for a node whose operands have theirs; one that never knows for a node that is never an int.
IntEvaluator ChooseIntEvaluator(const ExpressionNode& node);

}  // namespace karst
