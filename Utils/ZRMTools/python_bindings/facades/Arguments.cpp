#include "inc/Arguments.h"

#include <stdexcept>

namespace pyzrm
{
model::matrixd toMatrix(const Columns& columns)
{
    if (columns.size() < 4) throw std::invalid_argument("A matrix needs four tuples.");
    model::matrixd matrix;
    for (std::size_t column = 0; column < 4; ++column)
    {
        const auto [row0, row1, row2, row3] = columns[column];
        matrix.m[column] = row0;
        matrix.m[4 + column] = row1;
        matrix.m[8 + column] = row2;
        matrix.m[12 + column] = row3;
    }
    return matrix;
}
} // namespace pyzrm
