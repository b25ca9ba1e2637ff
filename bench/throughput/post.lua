-- wrk script: POST one envelope with basic authentication, and count the
-- replies by HTTP status so that run.py can tell served requests from
-- nginx's own errors (a 502 is fast and would inflate the rate).
--
-- Environment: BENCH_ENVELOPE (file), BENCH_CONTENT_TYPE, BENCH_AUTH
-- (the "Basic ..." value).
local function read_all(path)
  local file = assert(io.open(path, "rb"))
  local data = file:read("*a")
  file:close()
  return data
end

wrk.method = "POST"
wrk.body = read_all(os.getenv("BENCH_ENVELOPE"))
wrk.headers["Content-Type"] = os.getenv("BENCH_CONTENT_TYPE")
wrk.headers["Authorization"] = os.getenv("BENCH_AUTH")

local threads = {}

function setup(thread)
  table.insert(threads, thread)
end

function init(args)
  counts = {}
end

function response(status, headers, body)
  counts[status] = (counts[status] or 0) + 1
end

-- One "status <code> <count>" line per code, summed over the threads.
function done(summary, latency, requests)
  local total = {}
  for _, thread in ipairs(threads) do
    for status, n in pairs(thread:get("counts")) do
      total[status] = (total[status] or 0) + n
    end
  end
  for status, n in pairs(total) do
    io.write(string.format("status %d %d\n", status, n))
  end
end
