package com.talvoro.zrjni;

/**
 * The settings of a relay, mirroring {@code ZRRestCfg}.
 *
 * <p>All are texts of up to 63 bytes in the system encoding, numbers too.
 */
public class RedisInfo {
  /** Name of the data source. */
  public String m_name;

  /** Host. */
  public String m_hostip;

  /** Port. */
  public String m_port;

  /** Password. */
  public String m_password;

  /** Most connections of the pool. */
  public String m_maxTotal;

  /** Longest wait for a connection of the pool. */
  public String m_maxWait;

  /** Name of the master; empty to connect directly. */
  public String m_mastername;

  /** Routing name of alarms raised. */
  public String m_routingrtalms;

  /** Routing name of alarms cleared. */
  public String m_routingclearalm;

  /** Routing name of current values. */
  public String m_routingrtrec;

  /** Further routing name. */
  public String m_routingcrs;
}
