local fib, answer
function fib(n)
  if n < 2 then return n end
  return fib(n - 1) + fib(n - 2)
end
for round = 1, rounds do
  answer = fib(19)
end
print(answer)
