// Runs under callgrind and makes it write what each operation of the product on the null library takes: a profile per
// operation, under the operation's name. tests/bench_counts reads them.

#include "bench/Callgrind.h"
#include "bench/LayerCases.h"

int main() {
  for (const LayerCase& operation : LayerCases()) CountInstructions(operation.name, operation.product);
}
