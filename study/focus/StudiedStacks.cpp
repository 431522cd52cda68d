// SPDX-License-Identifier: Apache-2.0
#include "study/focus/StudiedStacks.h"

namespace Focus {

QVector<StackCondition> stackConditions()
{
    return {
        {QStringLiteral("no noise"), 0, 0},
        {QStringLiteral("noise 0.9"), usualNoise, 0},
        {QStringLiteral("noise 2"), 2, 0},
        {QStringLiteral("noise 4"), 4, 0},
        {QStringLiteral("uneven light 20 %"), usualNoise, 0.2},
        {QStringLiteral("uneven light 40 %"), usualNoise, 0.4},
    };
}

QVector<Stack> measureStacks(int faces)
{
    QVector<Stack> stacks;
    const QVector<StackCondition> all = stackConditions();
    for (int condition = 0; condition < all.size(); ++condition) {
        for (const Cleanness cleanness : {Cleanness::Clean, Cleanness::Soiled}) {
            for (int number = 0; number < faces; ++number) {
                EndfaceScene face = studyFace(number, cleanness);
                face.illumination = all.at(condition).illumination;
                stacks.append(
                    {condition, cleanness, measureStack(face, Stack::steps, Stack::maxBlur, all.at(condition).noise)});
            }
        }
    }
    return stacks;
}

StackChoice under(int condition, Cleanness cleanness)
{
    return [=](const Stack &stack) { return stack.condition == condition && stack.cleanness == cleanness; };
}

} // namespace Focus
