package com.talvoro.zrjni;

/**
 * The settings of a relay, mirroring {@code ZRRestCfg}.
 *
 * <p>All are texts of up to 63 bytes in the system encoding, numbers too.
 */
public class RedisInfo {
  /** Name of the data source. */
  public String m_name;

  /** Host of the Redis, or of the Sentinel; empty turns the relay off. */
  public String m_hostip;

  /** Port, 1 to 65535; empty for 6379, of a Sentinel 26379. */
  public String m_port;

  /** Password of the Redis; empty for none. */
  public String m_password;

  /** Most connections, from 1; empty for 8. */
  public String m_maxTotal;

  /** Longest wait for a connection and for a command, in milliseconds; empty for 1000. */
  public String m_maxWait;

  /** Name of the master that a Sentinel is asked for; empty to connect directly. */
  public String m_mastername;

  /** Stream and channel of alarms that are raised; empty: none. */
  public String m_routingrtalms;

  /** Stream and channel of alarms that have ended; empty: none. */
  public String m_routingclearalm;

  /** Stream and channel of current values; empty: none. */
  public String m_routingrtrec;

  /** Stream and channel of acknowledgements and comments; empty: none. */
  public String m_routingcrs;
}
