#pragma once

/// The test program replaces operator new[] and operator new, which the library then uses too:
/// an allocation inside a guarded stretch can be made to fail.

/// From here on allocation number `nth` (from 0) fails, once; -1 for none. Starts the count anew.
void fail_allocation(int nth);

/// From here on allocation number `nth` (from 0) fails and all that come after it, as when memory
/// is really exhausted.
void fail_allocations_from(int nth);

/// From here on allocations of more than this many bytes fail; 0 for none. They can be asked for
/// by the gigabyte, and none of them is touched. Ended like the others.
void fail_allocations_above(unsigned long long bytes);

/// Ends the guarded stretch. 1 when the failing allocation was reached.
bool allocation_failed();

/// Allocations since `fail_allocation`.
int allocations_seen();

/// From here on the first 64 KiB of new storage are filled with this byte; -1 for as it comes. What
/// is never written then shows: the result must not depend on the byte.
void fill_allocations(int byte);

/// Bytes in live allocations that went through the replaced operators.
long long live_bytes();
/// Live allocations.
long long live_allocations();
/// The largest single request since `fail_allocation`.
unsigned long long largest_request();
