// What the floor does between the body and the reply. Linked with no_steps.cpp it does nothing there.
#ifndef BENCH_STEPS_H
#define BENCH_STEPS_H

// Does what the arguments of main() say. False: a step failed.
bool run_steps(int argc, char **argv);

#endif
